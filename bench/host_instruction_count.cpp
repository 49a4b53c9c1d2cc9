// What the program does around the library's calls: the instructions of reading, converting and
// writing are counted as those of instruction_count.cpp are. Codecs that choose their kernels by
// the processor are left out: the samples of the files are not compressed.
#include "base/workers.h"
#include "counted_call.h"
#include "formats/write_page.h"
#include "render/examination.h"
#include "scene.h"

#include <Imath/half.h>
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfOutputFile.h>
#include <algorithm>
#include <array>
#include <filesystem>
#include <unistd.h>
#include <utility>

namespace lumo::bench {
namespace {

constexpr qva::ImageSize size = {480, 320};

class Folder {
public:
    Folder() { std::filesystem::create_directory(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { std::filesystem::remove_all(path_); }
    std::string operator/(const char* name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_ =
        std::filesystem::temp_directory_path() / ("qva-count-" + std::to_string(getpid()));
};

qva::Page ScenePage()
{
    const std::vector<uint16_t> scene = MakeScene(size.width, size.height);
    qva::Page page{size, std::make_unique<std::uint16_t[]>(scene.size())};
    std::copy(scene.begin(), scene.end(), page.codes.get());
    return page;
}

void Write(const qva::Page& page, const std::string& path)
{
    qva::WriteSettings settings;
    settings.compression = qva::Compression::None;
    qva::Progress progress(qva::ProgressStyle::None);
    qva::OutputFile file(path);
    qva::WritePage(file, page, settings, progress);
    file.Commit();
}

void WriteHalves(const std::string& path)
{
    std::vector<std::uint16_t> halves;
    for (const float light : MakeLinearScene(size.width, size.height)) {
        halves.push_back(imath_float_to_half(light / 100.0f));
    }
    Imf::Header header(size.width, size.height);
    header.compression() = Imf::NO_COMPRESSION;
    Imf::FrameBuffer frame;
    for (std::size_t k = 0; k < 3; ++k) {
        const char* name = std::array{"R", "G", "B"}[k];
        header.channels().insert(name, Imf::Channel(Imf::HALF));
        frame.insert(name, Imf::Slice(Imf::HALF, reinterpret_cast<char*>(halves.data() + k), 6,
                                      6 * size.width));
    }
    Imf::OutputFile file(path.c_str(), header);
    file.setFrameBuffer(frame);
    file.writePixels(size.height);
}

/// What a print does before it calls the library.
bool Load(const std::string& path, const qva::SourceOptions& options)
{
    qva::Progress progress(qva::ProgressStyle::None);
    std::unique_ptr<qva::ImageSource> source;
    qva::Keeping keeping{[](qva::ImageSize) { return true; }, {}};
    const qva::Examination found = qva::Examine(path, options, {}, {}, progress, source, &keeping);
    const qva::SceneDecoder decoder(found.meaning, path, source->Samples());
    const qva::LightSteps light(found.light);
    return qva::MakePage(std::move(keeping.samples), found.description, decoder, light, found.range)
               .codes != nullptr;
}

bool CountAll()
{
    qva::SetWorkers(1);
    qva::SetReaderThreads(0);
    const Folder folder;
    const qva::Page page = ScenePage();
    qva::SourceOptions pq;
    pq.encoding = "pq";
    pq.primaries = "display-p3";
    WriteHalves(folder / "scene.exr");
    bool done = Count("write-tiff", [&] {
        Write(page, folder / "scene.tif");
        return true;
    });
    done = Count("load-pq-tiff", [&] { return Load(folder / "scene.tif", pq); }) && done;
    return Count("load-half-exr", [&] { return Load(folder / "scene.exr", {}); }) && done;
}

} // namespace
} // namespace lumo::bench

int main()
{
    return lumo::bench::CountAll() ? 0 : 1;
}
