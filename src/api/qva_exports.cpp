// The nine exported functions: arguments in, status codes out.
#include "api/source_encoding.h"
#include "controller/qva_controller.h"

#include <algorithm>
#include <iterator>
#include <lumo/qva.h>
#include <new>

struct QVA_CONTROLLER {
    lumo::QvaController controller;
};

namespace {

constexpr int32_t encodingBytes = sizeof(QVA_SOURCE_ENCODING);
constexpr int32_t rangeBytes = sizeof(QVA_SOURCE_RANGE);
constexpr uint32_t bandParameters[] = {0, 1, 1, 80, 80, 80, 80};

uint32_t Apply(QVA_HANDLE handle, const QVA_IMAGE* dst, const QVA_IMAGE* src,
               const QVA_SOURCE_ENCODING* encoding, int32_t encodingSize,
               const QVA_OUTPUT_CONDITIONS* conditions, bool print)
{
    if (handle == nullptr || encodingSize != encodingBytes) {
        return QVA_ERROR_INVALID_ARGUMENT;
    }
    return handle->controller.Apply(dst, src, encoding, conditions, print);
}

// Calls operation(encoding) with the record built from the short form.
template <typename Operation>
uint32_t WithEncoding(QVA_HANDLE handle, const QVA_SOURCE_RANGE* range, int32_t rangeSize,
                      const QVA_OUTPUT_CONDITIONS* conditions, Operation&& operation)
{
    if (handle == nullptr || rangeSize != rangeBytes || range == nullptr || conditions == nullptr) {
        return QVA_ERROR_INVALID_ARGUMENT;
    }
    const QVA_SOURCE_ENCODING encoding = lumo::MakeSourceEncoding(*range, *conditions);
    return operation(encoding);
}

} // namespace

uint32_t QVA_Initialize(QVA_HANDLE* handle)
{
    if (handle == nullptr || *handle != nullptr) {
        return QVA_ERROR_INVALID_ARGUMENT;
    }
    try {
        *handle = new QVA_CONTROLLER;
        return QVA_OK;
    } catch (...) {
        return QVA_ERROR_PROCESSING;
    }
}

uint32_t QVA_Terminate(QVA_HANDLE* handle)
{
    if (handle == nullptr || *handle == nullptr) {
        return QVA_ERROR_INVALID_ARGUMENT;
    }
    delete *handle;
    *handle = nullptr;
    return QVA_OK;
}

uint32_t QVA_ApplyQVAForPrint(QVA_HANDLE handle, const QVA_IMAGE* dst, const QVA_IMAGE* src,
                              const QVA_SOURCE_ENCODING* encoding, int32_t encodingSize,
                              const QVA_OUTPUT_CONDITIONS* conditions)
{
    return Apply(handle, dst, src, encoding, encodingSize, conditions, true);
}

uint32_t QVA_ApplyQVAForPreview(QVA_HANDLE handle, const QVA_IMAGE* dst, const QVA_IMAGE* src,
                                const QVA_SOURCE_ENCODING* encoding, int32_t encodingSize,
                                const QVA_OUTPUT_CONDITIONS* conditions)
{
    return Apply(handle, dst, src, encoding, encodingSize, conditions, false);
}

uint32_t QVA_ApplyQVAForPrint_Wrapper(QVA_HANDLE handle, const QVA_IMAGE* dst, const QVA_IMAGE* src,
                                      const QVA_SOURCE_RANGE* range, int32_t rangeSize,
                                      const QVA_OUTPUT_CONDITIONS* conditions)
{
    return WithEncoding(handle, range, rangeSize, conditions, [&](const auto& encoding) {
        return handle->controller.Apply(dst, src, &encoding, conditions, true);
    });
}

uint32_t QVA_ApplyQVAForPreview_Wrapper(QVA_HANDLE handle, const QVA_IMAGE* dst,
                                        const QVA_IMAGE* src, const QVA_SOURCE_RANGE* range,
                                        int32_t rangeSize, const QVA_OUTPUT_CONDITIONS* conditions)
{
    return WithEncoding(handle, range, rangeSize, conditions, [&](const auto& encoding) {
        return handle->controller.Apply(dst, src, &encoding, conditions, false);
    });
}

uint32_t QVA_Analysis(QVA_HANDLE handle, const QVA_IMAGE* src, const QVA_SOURCE_RANGE* range,
                      int32_t rangeSize, const QVA_OUTPUT_CONDITIONS* conditions)
{
    return WithEncoding(handle, range, rangeSize, conditions, [&](const auto& encoding) {
        return handle->controller.Analysis(src, &encoding, conditions);
    });
}

uint32_t QVA_CorrectionForPrint(QVA_HANDLE handle, const QVA_IMAGE* dst, const QVA_IMAGE* src,
                                const QVA_SOURCE_RANGE* range, int32_t rangeSize,
                                const QVA_OUTPUT_CONDITIONS* conditions, const QVA_BAND_AREA* band,
                                const QVA_PAGE_AREA* page)
{
    return WithEncoding(handle, range, rangeSize, conditions, [&](const auto& encoding) {
        return handle->controller.CorrectionForPrint(dst, src, &encoding, conditions, band, page);
    });
}

uint32_t QVA_GetParametersForBandProcessing(QVA_HANDLE, uint32_t* values)
{
    if (values == nullptr) {
        return QVA_ERROR_INVALID_ARGUMENT;
    }
    std::copy(std::begin(bandParameters), std::end(bandParameters), values);
    return QVA_OK;
}
