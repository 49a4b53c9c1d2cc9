// Writes the scene to standard output as raw rows of packed 16-bit RGB.
//   lumo_scene WIDTH HEIGHT > FILE
#include "scene.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: lumo_scene WIDTH HEIGHT > FILE\n");
        return 2;
    }
    const auto width = static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10));
    const auto height = static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 10));
    const std::vector<uint16_t> pixels = lumo::bench::MakeScene(width, height);
    return std::fwrite(pixels.data(), sizeof pixels[0], pixels.size(), stdout) == pixels.size() ? 0
                                                                                                : 1;
}
