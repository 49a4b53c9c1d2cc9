// Pins the layout of the public records.
#include <cstddef>
#include <lumo/qva.h>

static_assert(sizeof(void*) == 8, "the records are laid out for 64-bit addresses");

static_assert(sizeof(QVA_IMAGE) == 48);
static_assert(offsetof(QVA_IMAGE, width) == 0 && offsetof(QVA_IMAGE, height) == 4);
static_assert(offsetof(QVA_IMAGE, stride) == 8 && offsetof(QVA_IMAGE, channels) == 16);
static_assert(offsetof(QVA_IMAGE, bitsPerChannel) == 20 && offsetof(QVA_IMAGE, format) == 24);
static_assert(offsetof(QVA_IMAGE, colorSpace) == 28 && offsetof(QVA_IMAGE, pixels) == 40);

static_assert(sizeof(QVA_SOURCE_ENCODING) == 160);
static_assert(offsetof(QVA_SOURCE_ENCODING, gammaType) == 4);
static_assert(offsetof(QVA_SOURCE_ENCODING, codeMin) == 8);
static_assert(offsetof(QVA_SOURCE_ENCODING, luminanceMin) == 12);
static_assert(offsetof(QVA_SOURCE_ENCODING, codeThreshold) == 16);
static_assert(offsetof(QVA_SOURCE_ENCODING, luminanceThreshold) == 20);
static_assert(offsetof(QVA_SOURCE_ENCODING, codeMax) == 24);
static_assert(offsetof(QVA_SOURCE_ENCODING, luminanceMax) == 28);

static_assert(sizeof(QVA_SOURCE_RANGE) == 12);
static_assert(offsetof(QVA_SOURCE_RANGE, luminanceMin) == 4);
static_assert(offsetof(QVA_SOURCE_RANGE, luminanceMax) == 8);

static_assert(sizeof(QVA_OUTPUT_CONDITIONS) == 40);
static_assert(offsetof(QVA_OUTPUT_CONDITIONS, paramLuminanceThreshold) == 4);
static_assert(offsetof(QVA_OUTPUT_CONDITIONS, reservedA) == 8);
static_assert(offsetof(QVA_OUTPUT_CONDITIONS, reservedB) == 16);
static_assert(offsetof(QVA_OUTPUT_CONDITIONS, outputProfile) == 24);
static_assert(offsetof(QVA_OUTPUT_CONDITIONS, renderingIntent) == 32);
static_assert(offsetof(QVA_OUTPUT_CONDITIONS, optionFlag) == 36);

static_assert(sizeof(QVA_BAND_AREA) == 20);
static_assert(offsetof(QVA_BAND_AREA, right) == 8 && offsetof(QVA_BAND_AREA, flags) == 16);

static_assert(sizeof(QVA_PAGE_AREA) == 24);
static_assert(offsetof(QVA_PAGE_AREA, bottom) == 12 && offsetof(QVA_PAGE_AREA, pageWidth) == 16);
static_assert(offsetof(QVA_PAGE_AREA, pageHeight) == 20);
