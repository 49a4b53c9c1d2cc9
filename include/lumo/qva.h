/*
 * QVA: rendering of high-dynamic-range photographs for paper.
 *
 * The whole public interface of libqva: the records a caller fills, the status codes and nine
 * functions. Plain C11; every record is passed by pointer, lies in native (little-endian) byte
 * order with natural alignment, and stays the caller's: the library keeps no pointer to a record
 * or to pixels after a call returns.
 *
 * A host either renders a whole image in one call (QVA_ApplyQVAForPrint, QVA_ApplyQVAForPreview
 * and their _Wrapper forms), or analyses a reduced copy of a page once (QVA_Analysis) and then
 * corrects the page at full resolution band by band (QVA_CorrectionForPrint).
 *
 * Threads: calls on one handle must not overlap; different handles may be used at the same time.
 * The work inside a call is spread with OpenMP and gives the same bytes for every thread count.
 */
#ifndef LUMO_QVA_H
#define LUMO_QVA_H

#include <stdint.h>

/* The version of the library that this header belongs to. */
#define QVA_VERSION_MAJOR 1
#define QVA_VERSION_MINOR 0
#define QVA_VERSION_PATCH 0
#define QVA_VERSION_STRING "1.0.0"

#if defined(__GNUC__)
#define QVA_API __attribute__((visibility("default")))
#else
#define QVA_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Status codes: the result of every function. No other value is ever returned. */
enum {
    QVA_OK = 0,                    /* the call did its work */
    QVA_ERROR_PROCESSING = 1,      /* the work failed: out of memory, an unusable profile, a range
                                      that cannot be rendered */
    QVA_ERROR_INVALID_ARGUMENT = 5 /* an argument failed a check, the analysed image is larger than
                                      1200 pixels on its longer side, or no usable analysis is
                                      stored in the handle */
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

/* One image of the caller: packed rows of interleaved 16-bit R, G, B samples, top to bottom.
 * Channel k of pixel (x, y) lies at byte y * stride + (x * 3 + k) * 2 from pixels. 48 bytes. */
typedef struct QVA_IMAGE {
    uint32_t width;          /* pixels per row, at least 1 */
    uint32_t height;         /* rows, at least 1 */
    uint64_t stride;         /* bytes from one row to the next; must be width * 6 */
    uint32_t channels;       /* must be 3 */
    uint32_t bitsPerChannel; /* must be 16 */
    uint32_t format;         /* must be QVA_FORMAT_RGB16 */
    uint32_t colorSpace;     /* must be QVA_COLOR_SPACE_BT2020: RGB with its primaries */
    uint64_t reserved;       /* not read */
    void* pixels;            /* the first sample; not null. Only read in a source image */
} QVA_IMAGE;

/* How the codes of a source stand for scene luminance. 160 bytes, of which 32 are read. */
typedef struct QVA_SOURCE_ENCODING {
    uint32_t reserved;         /* not read */
    uint32_t gammaType;        /* 0 linear in luminance, 1 gamma 2.2, 2 PQ (SMPTE ST 2084) */
    uint32_t codeMin;          /* code of the darkest level, 0 ... codeThreshold */
    float luminanceMin;        /* cd/m2 at codeMin */
    uint32_t codeThreshold;    /* code of the threshold, codeMin ... codeMax; checked only */
    float luminanceThreshold;  /* cd/m2, luminanceMin ... luminanceMax; checked only */
    uint32_t codeMax;          /* code of the brightest level */
    float luminanceMax;        /* cd/m2 at codeMax, at most 10000 */
    uint8_t reservedTail[128]; /* not read */
} QVA_SOURCE_ENCODING;

/* The short form of the encoding: codes 0 ... 65535. 12 bytes. */
typedef struct QVA_SOURCE_RANGE {
    uint32_t gammaType; /* as in QVA_SOURCE_ENCODING */
    float luminanceMin; /* cd/m2 at code 0 */
    float luminanceMax; /* cd/m2 at code 65535, at most 10000 */
} QVA_SOURCE_RANGE;

/* The output device and the viewing conditions. 40 bytes. */
typedef struct QVA_OUTPUT_CONDITIONS {
    int32_t outputLuminanceMax;    /* cd/m2 of paper white: 100, 200 or 400 */
    float paramLuminanceThreshold; /* cd/m2, 0 ... 100: tones below it keep their contrast. Taken
                                      over by QVA_Analysis; a handle that never analysed renders
                                      with 1.3 */
    double reservedA;              /* must be above 0; not otherwise read */
    double reservedB;              /* must be above 0; not otherwise read */
    const void* outputProfile;     /* bytes of the output device's ICC profile; not null. Its own
                                      header states its size, so all those bytes must be there */
    uint32_t renderingIntent;      /* 0 media-relative colorimetric, 2 saturation */
    uint32_t optionFlag;           /* 0 with black-point compensation, 1 without */
} QVA_OUTPUT_CONDITIONS;

/* The part of a source buffer that a correction call is about; coordinates are inclusive and lie
 * inside the source. 20 bytes. */
typedef struct QVA_BAND_AREA {
    uint32_t left;
    uint32_t top;
    uint32_t right;
    uint32_t bottom;
    uint8_t flags[4]; /* 0 or not 0. Either of the first two set: the page is cut into rows of
                         bands (1,1,0,0); neither: into columns of bands (0,0,1,1) */
} QVA_BAND_AREA;

/* Where the source buffer of a correction call lies in the page; coordinates are inclusive, and
 * the rectangle has the size of the source. 24 bytes. */
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

/* Analyses src, a copy of the page reduced to at most 1200 pixels on its longer side, and stores
 * the result in the handle for later corrections. rangeSize must be 12.
 * Takes over paramLuminanceThreshold for all later calls on the handle, also where the image is
 * then refused for its size. An analysis that ends with 1 leaves the stored result; corrections can
 * use it only if it is of an image of the same size, and end with 1 otherwise.
 * Returns 0, 1 or 5. */
QVA_API uint32_t QVA_Analysis(QVA_HANDLE handle, const QVA_IMAGE* src,
                              const QVA_SOURCE_RANGE* range, int32_t rangeSize,
                              const QVA_OUTPUT_CONDITIONS* conditions);

/* Renders one band of the page for print with the analysis stored in the handle. src and dst hold
 * the band; dst may be src. rangeSize must be 12.
 * The first correction of a process fixes the rendering intent and the black level of the output
 * device for all later ones, whatever the handle.
 * Returns 0, 1 or 5; 5 also while no analysis with at least two segments is stored. */
QVA_API uint32_t QVA_CorrectionForPrint(QVA_HANDLE handle, const QVA_IMAGE* dst,
                                        const QVA_IMAGE* src, const QVA_SOURCE_RANGE* range,
                                        int32_t rangeSize, const QVA_OUTPUT_CONDITIONS* conditions,
                                        const QVA_BAND_AREA* band, const QVA_PAGE_AREA* page);

/* Writes how to cut a page into bands to values[0 ... 6]: 0, 1, 1, 80, 80, 80, 80. The last four
 * are the pixels by which bands should overlap on each side. Needs no handle.
 * Returns 0; 5 if values is null. */
QVA_API uint32_t QVA_GetParametersForBandProcessing(QVA_HANDLE handle, uint32_t* values);

#ifdef __cplusplus
}
#endif

#endif
