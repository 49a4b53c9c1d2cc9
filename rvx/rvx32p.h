/* The five functions of the colour matcher and the record that hands it a profile. A host may put
   another matcher with the same functions in the place of this one. */
#pragma once

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define RVX_API __attribute__((visibility("default")))

/** The interface version that RVX_Initialize accepts. */
#define RVX_VERSION 0x03020000u
/** The first two words of every RvxProfileDescriptor; both are checked. */
#define RVX_DESCRIPTOR_VERSION 0x02000000u
#define RVX_DESCRIPTOR_MEMORY 4u
/** The only bit of the transform flags that changes the result: black-point compensation on the
    way from the source to the device. */
#define RVX_FLAG_BLACK_POINT_COMPENSATION 0x10000u
/** What the library sets in every call. Nothing here looks at these bits; a matcher in the place of
    this one may. */
#define RVX_FLAGS_OF_EVERY_CALL 0x20032u

/** Rendering intents, as ICC.1 numbers them. */
enum {
    RVX_INTENT_PERCEPTUAL = 0,
    RVX_INTENT_RELATIVE_COLORIMETRIC = 1,
    RVX_INTENT_SATURATION = 2,
    RVX_INTENT_ABSOLUTE_COLORIMETRIC = 3
};

/** What the functions return; a caller needs to tell 0 from the rest only. */
enum {
    RVX_OK = 0,
    RVX_ERROR_ARGUMENT = -1,   /**< null pointer, unknown version, intent or descriptor words */
    RVX_ERROR_HANDLE = -2,     /**< no such instance, or no such transform of this instance */
    RVX_ERROR_UNREADABLE = -3, /**< the profile's memory cannot be read as far as its tags need */
    RVX_ERROR_PROFILE = -4,    /**< the profile is damaged or of a kind that cannot serve here */
    RVX_ERROR_TRANSFORM = -5,  /**< the engine found no way through the three profiles */
    RVX_ERROR_INTERNAL = -6    /**< out of memory */
};

typedef uint64_t RvxInstance;
typedef uint64_t RvxXform;

/** Where an ICC profile lies. How long it is stands in its first four bytes. */
typedef struct RvxProfileDescriptor {
    uint32_t version;        /**< RVX_DESCRIPTOR_VERSION */
    uint32_t location;       /**< RVX_DESCRIPTOR_MEMORY */
    uint32_t reserved8;      /**< 0 */
    uint32_t count;          /**< 1 */
    const void* profile;     /**< address of the first byte of the profile */
    uint8_t reserved24[248]; /**< 0 */
    uint32_t api;            /**< RVX_VERSION */
    uint8_t reserved276[76]; /**< 0 */
} RvxProfileDescriptor;

static_assert(sizeof(RvxProfileDescriptor) == 352, "the record is exchanged byte by byte");
static_assert(offsetof(RvxProfileDescriptor, version) == 0, "fixed offset");
static_assert(offsetof(RvxProfileDescriptor, location) == 4, "fixed offset");
static_assert(offsetof(RvxProfileDescriptor, count) == 12, "fixed offset");
static_assert(offsetof(RvxProfileDescriptor, profile) == 16, "fixed offset");
static_assert(sizeof(const void*) == 8, "the address takes eight bytes");
static_assert(offsetof(RvxProfileDescriptor, api) == 272, "fixed offset");

/** Opens an instance. Instances share nothing that a caller can see; each may be used from any
    thread.
    @param version   RVX_VERSION.
    @param reserved  not used; null.
    @param instance  receives the handle, never 0; untouched on failure. */
RVX_API int32_t RVX_Initialize(const uint32_t* version, void* reserved, RvxInstance* instance);

/** Makes a transform that tells what XYZ the device gives when it is asked for RGB values of the
    source. The profiles' bytes are copied; they may go once the call returns.
    @param source    RGB profile with PCS XYZ or Lab.
    @param xyz       RGB profile whose device values are the wanted encoding of XYZ; it is written
                     to, so an input profile needs a B2A0 tag.
    @param device    output, display or colour-space profile, or an input profile with B2A0.
    @param xform     receives the handle, never 0; untouched on failure.
    @param reserved, options  not used; null and 0.
    @param flags     RVX_FLAG_BLACK_POINT_COMPENSATION or not; other bits are not looked at.
    @param intent    0 to 3, from the source to the device; the way back to XYZ is always
                     media-relative, so that white has Y = 32768 on every device. */
RVX_API int32_t RVX_CreateColorMatchingXform(RvxInstance instance,
                                             const RvxProfileDescriptor* source,
                                             const RvxProfileDescriptor* xyz,
                                             const RvxProfileDescriptor* device, RvxXform* xform,
                                             void* reserved, uint32_t options, uint32_t flags,
                                             uint16_t intent);

/** Converts pixels of three interleaved 16-bit values.
    @param in     3 x count values, 0 to 65535 for 0 to 1 of the source's RGB.
    @param out    3 x count values; may be in. With the usual XYZ profile 32768 stands for 1.0.
    @param count  pixels; 0 is allowed and does nothing. */
RVX_API int32_t RVX_MatchColors(RvxInstance instance, RvxXform xform, const uint16_t* in,
                                uint16_t* out, uint32_t count);

/** Frees a transform. A second call with the same handle is RVX_ERROR_HANDLE. */
RVX_API int32_t RVX_DisposeXform(RvxInstance instance, RvxXform xform);

/** Ends the instance and frees the transforms it still has. */
RVX_API int32_t RVX_Terminate(RvxInstance instance);

#ifdef __cplusplus
}
#endif
