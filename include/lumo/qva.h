/*
 * QVA: rendering of high-dynamic-range photographs for paper.
 *
 * All that a host needs of libqva, in C11: six records to fill in, three answers, nine functions.
 * Records are plain structs as the C compiler lays them out (x86-64, little-endian), handed over by
 * address. Once a call has answered, its records and pixels can be reused or freed; their addresses
 * are forgotten.
 *
 * A picture that fits into memory takes one call, to print or to preview. A page that does not is
 * done in two steps: QVA_Analysis learns from a small copy what the whole page needs, and
 * QVA_CorrectionForPrint then prints one strip after another. The _Wrapper forms are shorthand for
 * pictures whose codes run from 0 to 65535.
 *
 * Threads: whoever wants two pictures at once takes two handles, one for each thread that calls. A
 * call borrows threads from OpenMP, as many as there are processors at most; how many it got never
 * shows in the bytes. Before a team that is larger than any before, as many threads are started and
 * ended at once, to see whether the system has them.
 */
#ifndef LUMO_QVA_H
#define LUMO_QVA_H

#include <stdint.h>

/* The version of the library that this header belongs to. */
#define QVA_VERSION_MAJOR 1
#define QVA_VERSION_MINOR 0
#define QVA_VERSION_PATCH 0
#define QVA_VERSION_STRING "1.0.0"
/* The same as a number that grows: 10000 * major + 100 * minor + patch. */
#define QVA_VERSION_NUMBER (QVA_VERSION_MAJOR * 10000 + QVA_VERSION_MINOR * 100 + QVA_VERSION_PATCH)

#if defined(__GNUC__)
#define QVA_API __attribute__((visibility("default")))
#else
#define QVA_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* What a function answers with. There are these three answers. */
enum {
    QVA_OK = 0,               /* done */
    QVA_ERROR_PROCESSING = 1, /* given up on the way: out of memory, an unusable profile, a range
                                 that cannot be rendered */
    QVA_ERROR_INVALID_ARGUMENT = 5 /* refused before it began: a null pointer, a value that this
                                      header rules out, a picture too long to analyse, a correction
                                      on a handle that has not learnt enough of a page */
};

/* What a handle points to. */
typedef struct QVA_CONTROLLER QVA_CONTROLLER;

/* Names for the values that the fields below can have: format, colorSpace, gammaType,
 * renderingIntent and optionFlag. */
enum { QVA_FORMAT_RGB16 = 1 };
enum { QVA_COLOR_SPACE_BT2020 = 2 };
enum { QVA_GAMMA_LINEAR = 0, QVA_GAMMA_2_2 = 1, QVA_GAMMA_PQ = 2 };
enum { QVA_INTENT_RELATIVE_COLORIMETRIC = 0, QVA_INTENT_SATURATION = 2 };
enum { QVA_OPTION_BLACK_POINT_COMPENSATION = 0, QVA_OPTION_PLAIN_BLACK = 1 };

/* A handle: null before QVA_Initialize and after QVA_Terminate. */
typedef QVA_CONTROLLER* QVA_HANDLE;

/* A picture in the host's memory: uint16_t red, green, blue, red, green, blue ... from the top
 * left, each row right behind the one above it. 48 bytes. */
typedef struct QVA_IMAGE {
    uint32_t width;          /* pixels per row, at least 1 */
    uint32_t height;         /* rows, at least 1 */
    uint64_t stride;         /* bytes that a row takes: width * 6, no gap behind it */
    uint32_t channels;       /* must be 3 */
    uint32_t bitsPerChannel; /* must be 16 */
    uint32_t format;         /* must be QVA_FORMAT_RGB16 */
    uint32_t colorSpace;     /* must be QVA_COLOR_SPACE_BT2020: RGB with its primaries */
    uint64_t reserved;       /* not read */
    void* pixels;            /* the red of the top left; not null. A source is only read */
} QVA_IMAGE;

/* What light the codes of a source mean. 160 bytes; what lies behind the 32nd is skipped. */
typedef struct QVA_SOURCE_ENCODING {
    uint32_t reserved;         /* not read */
    uint32_t gammaType;        /* QVA_GAMMA_...: linear in luminance, a power of 2.2, or PQ
                                  (SMPTE ST 2084) */
    uint32_t codeMin;          /* the code that means luminanceMin, 0 ... codeThreshold */
    float luminanceMin;        /* cd/m2 at codeMin */
    uint32_t codeThreshold;    /* codeMin ... codeMax; held against its bounds, then unused */
    float luminanceThreshold;  /* cd/m2, luminanceMin ... luminanceMax; likewise */
    uint32_t codeMax;          /* the code that means luminanceMax */
    float luminanceMax;        /* cd/m2 at codeMax, at most 10000 */
    uint8_t reservedTail[128]; /* not read */
} QVA_SOURCE_ENCODING;

/* The same for a source that uses all codes from 0 to 65535. 12 bytes. */
typedef struct QVA_SOURCE_RANGE {
    uint32_t gammaType; /* as in QVA_SOURCE_ENCODING */
    float luminanceMin; /* cd/m2 at code 0 */
    float luminanceMax; /* cd/m2 at code 65535, at most 10000 */
} QVA_SOURCE_RANGE;

/* What the picture is printed on, and how. 40 bytes. */
typedef struct QVA_OUTPUT_CONDITIONS {
    int32_t outputLuminanceMax;    /* cd/m2 of paper white: 100, 200 or 400 */
    float paramLuminanceThreshold; /* cd/m2, 0 ... 100: tones below it keep their contrast. Taken
                                      over by QVA_Analysis; a handle that never analysed renders
                                      with 1.3 */
    double reservedA;              /* anything above 0, without effect */
    double reservedB;              /* anything above 0, without effect */
    const void* outputProfile;     /* bytes of the output device's ICC profile; not null. Its own
                                      header states its size, so all those bytes must be there */
    uint32_t renderingIntent;      /* QVA_INTENT_... */
    uint32_t optionFlag;           /* QVA_OPTION_...: with black-point compensation or without */
} QVA_OUTPUT_CONDITIONS;

/* The band inside the source of a correction, without its margins: corners in pixels of the source,
 * both part of the band. 20 bytes. */
typedef struct QVA_BAND_AREA {
    uint32_t left;
    uint32_t top;
    uint32_t right;
    uint32_t bottom;
    uint8_t flags[4]; /* 0 or not 0. Either of the first two set: the page is cut into rows of
                         bands (1,1,0,0); neither: into columns of bands (0,0,1,1) */
} QVA_BAND_AREA;

/* What a correction's source shows of the page, margins and all: corners in pixels of the page, as
 * far apart as those of the source. 24 bytes. */
typedef struct QVA_PAGE_AREA {
    uint32_t left;
    uint32_t top;
    uint32_t right;
    uint32_t bottom;
    uint32_t pageWidth;  /* pixels, at least 1 */
    uint32_t pageHeight; /* pixels, at least 1 */
} QVA_PAGE_AREA;

/* Creates a handle in *handle, which must be null.
 * Returns 0; 5 if handle is null or *handle is not; 1 if memory ran out (*handle stays null). */
QVA_API uint32_t QVA_Initialize(QVA_HANDLE* handle);

/* Destroys *handle and sets it to null.
 * Returns 0; 5 if handle or *handle is null. */
QVA_API uint32_t QVA_Terminate(QVA_HANDLE* handle);

/* Renders src for print into dst, an image of the same size. dst may be src.
 * encodingSize must be 160. Where the output profile cannot be used, the picture is rendered
 * without the device step and the call succeeds.
 * Returns 0, 1 or 5; dst is written only on 0. */
QVA_API uint32_t QVA_ApplyQVAForPrint(QVA_HANDLE handle, const QVA_IMAGE* dst, const QVA_IMAGE* src,
                                      const QVA_SOURCE_ENCODING* encoding, int32_t encodingSize,
                                      const QVA_OUTPUT_CONDITIONS* conditions);

/* As QVA_ApplyQVAForPrint, for an on-screen preview: the print before its device step. */
QVA_API uint32_t QVA_ApplyQVAForPreview(QVA_HANDLE handle, const QVA_IMAGE* dst,
                                        const QVA_IMAGE* src, const QVA_SOURCE_ENCODING* encoding,
                                        int32_t encodingSize,
                                        const QVA_OUTPUT_CONDITIONS* conditions);

/* QVA_ApplyQVAForPrint with the short form of the encoding; rangeSize must be 12. */
QVA_API uint32_t QVA_ApplyQVAForPrint_Wrapper(QVA_HANDLE handle, const QVA_IMAGE* dst,
                                              const QVA_IMAGE* src, const QVA_SOURCE_RANGE* range,
                                              int32_t rangeSize,
                                              const QVA_OUTPUT_CONDITIONS* conditions);

/* QVA_ApplyQVAForPreview with the short form of the encoding; rangeSize must be 12. */
QVA_API uint32_t QVA_ApplyQVAForPreview_Wrapper(QVA_HANDLE handle, const QVA_IMAGE* dst,
                                                const QVA_IMAGE* src, const QVA_SOURCE_RANGE* range,
                                                int32_t rangeSize,
                                                const QVA_OUTPUT_CONDITIONS* conditions);

/* Learns from src how to print a page: its regions, the tone curve of each, and where each counts.
 * src is all of the page at a smaller scale, neither side above 1200 pixels. The handle remembers
 * what was learnt, for QVA_CorrectionForPrint. rangeSize must be 12.
 * From here on every call on the handle works with this paramLuminanceThreshold, even if src turns
 * out to be too large. After an answer of 1 the handle still knows the page before; corrections go
 * on with it if its copy had the size of src, and answer 1 otherwise.
 * Returns 0, 1 or 5. */
QVA_API uint32_t QVA_Analysis(QVA_HANDLE handle, const QVA_IMAGE* src,
                              const QVA_SOURCE_RANGE* range, int32_t rangeSize,
                              const QVA_OUTPUT_CONDITIONS* conditions);

/* Prints one strip of the page that QVA_Analysis has seen, from src into dst, both with the strip's
 * margins; dst may be src. rangeSize must be 12.
 * Intent and device black are those of the process's first correction, on any handle: what later
 * ones ask for is not looked at.
 * Returns 0, 1 or 5; 5 too where the handle has seen no page of two regions or more. */
QVA_API uint32_t QVA_CorrectionForPrint(QVA_HANDLE handle, const QVA_IMAGE* dst,
                                        const QVA_IMAGE* src, const QVA_SOURCE_RANGE* range,
                                        int32_t rangeSize, const QVA_OUTPUT_CONDITIONS* conditions,
                                        const QVA_BAND_AREA* band, const QVA_PAGE_AREA* page);

/* Advice for whoever cuts a page: values[0 ... 6] become 0, 1, 1, 80, 80, 80, 80, of which the last
 * four are margins in pixels, one a side. handle may be null.
 * Returns 0; 5 if values is null. */
QVA_API uint32_t QVA_GetParametersForBandProcessing(QVA_HANDLE handle, uint32_t* values);

#ifdef __cplusplus
}
#endif

#endif
