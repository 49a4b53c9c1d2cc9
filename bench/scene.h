// A page to measure on, and the records that describe it to the exports.
#pragma once

#include <cstdint>
#include <lumo/qva.h>
#include <vector>

namespace lumo::bench {

/// A scene of PQ codes, packed 16-bit RGB: a graded sky with a sun, textured ground with hard
/// edges, and sensor noise. The same bytes at every call.
std::vector<uint16_t> MakeScene(uint32_t width, uint32_t height);

/// The same scene as light, in cd/m2: for programs that start from linear floats.
std::vector<float> MakeLinearScene(uint32_t width, uint32_t height);

QVA_IMAGE Describe(std::vector<uint16_t>& pixels, uint32_t width, uint32_t height);
QVA_SOURCE_RANGE SceneRange();
QVA_OUTPUT_CONDITIONS PaperConditions();

/// A handle that ends with its scope.
class Handle {
public:
    Handle() { QVA_Initialize(&handle_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() { QVA_Terminate(&handle_); }
    QVA_HANDLE Get() const { return handle_; }

private:
    QVA_HANDLE handle_ = nullptr;
};

} // namespace lumo::bench
