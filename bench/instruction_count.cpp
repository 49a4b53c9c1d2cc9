// Fixed calls whose instructions are counted: run it under callgrind with --instr-atstart=no. Each
// part ends in a dump that bears its name.
#include "counted_call.h"
#include "scene.h"

#include <gnu/libc-version.h>

namespace lumo::bench {
namespace {

// A picture of its own, which is made before counting starts.
class Page {
public:
    Page(uint32_t width, uint32_t height)
        : width_(width), height_(height), source_(MakeScene(width, height)), result_(source_.size())
    {
    }
    QVA_IMAGE Source() { return Describe(source_, width_, height_); }
    QVA_IMAGE Result() { return Describe(result_, width_, height_); }

private:
    uint32_t width_;
    uint32_t height_;
    std::vector<uint16_t> source_;
    std::vector<uint16_t> result_;
};

const QVA_SOURCE_RANGE range = SceneRange();
const QVA_OUTPUT_CONDITIONS conditions = PaperConditions();

bool Print(QVA_HANDLE handle, Page& page)
{
    const QVA_IMAGE src = page.Source();
    const QVA_IMAGE dst = page.Result();
    return QVA_ApplyQVAForPrint_Wrapper(handle, &dst, &src, &range, sizeof range, &conditions) ==
           QVA_OK;
}

bool Analyse(QVA_HANDLE handle, Page& page)
{
    const QVA_IMAGE src = page.Source();
    return QVA_Analysis(handle, &src, &range, sizeof range, &conditions) == QVA_OK;
}

// The page as one of four bands.
bool Correct(QVA_HANDLE handle, Page& page)
{
    const QVA_IMAGE src = page.Source();
    const QVA_IMAGE dst = page.Result();
    const uint32_t right = src.width - 1;
    const QVA_BAND_AREA band = {0, 0, right, src.height - 1, {1, 1, 0, 0}};
    const QVA_PAGE_AREA area = {0,         src.height,    right, 2 * src.height - 1,
                                src.width, 4 * src.height};
    return QVA_CorrectionForPrint(handle, &dst, &src, &range, sizeof range, &conditions, &band,
                                  &area) == QVA_OK;
}

bool CountAll()
{
    Page small(64, 64);
    Page whole(480, 320);
    Page reduced(240, 160);
    Page strip(480, 160);
    const auto firstCall = [&] {
        const Handle handle;
        return Print(handle.Get(), small);
    };
    bool done = Count("first-call", firstCall);
    const Handle handle;
    done = Count("print", [&] { return Print(handle.Get(), whole); }) && done;
    done = Count("analysis", [&] { return Analyse(handle.Get(), reduced); }) && done;
    return Count("band", [&] { return Correct(handle.Get(), strip); }) && done;
}

} // namespace
} // namespace lumo::bench

int main()
{
    std::printf("GCC %s, glibc %s\n", __VERSION__, gnu_get_libc_version());
    return lumo::bench::CountAll() ? 0 : 1;
}
