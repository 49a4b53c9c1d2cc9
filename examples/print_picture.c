/*
 * Prints a picture in one call.
 *
 *   print_picture PICTURE.ppm PRINTER.icc PRINT.ppm
 *
 * The picture is a binary PPM of 16 bits (maxval 65535) that holds PQ codes with the primaries of
 * BT.2020, up to 1000 cd/m2. The print has the same primaries and the power 1/2.2; 65535 is paper
 * white.
 *
 *   cc print_picture.c -o print_picture $(pkg-config --cflags --libs qva)
 */
#include <lumo/qva.h>
#include <stdio.h>
#include <stdlib.h>

/* PPM stores the high byte first. */
static void SwapBytes(unsigned char* bytes, size_t count)
{
    for (size_t i = 0; i + 1 < count; i += 2) {
        const unsigned char high = bytes[i];
        bytes[i] = bytes[i + 1];
        bytes[i + 1] = high;
    }
}

static void* ReadProfile(const char* name)
{
    FILE* file = fopen(name, "rb");
    void* bytes = NULL;
    long size = 0;
    if (file == NULL) {
        return NULL;
    }
    if (fseek(file, 0, SEEK_END) == 0 && (size = ftell(file)) > 0 && fseek(file, 0, SEEK_SET) == 0)
    {
        bytes = malloc((size_t)size);
    }
    if (bytes != NULL && fread(bytes, 1, (size_t)size, file) != (size_t)size) {
        free(bytes);
        bytes = NULL;
    }
    fclose(file);
    return bytes;
}

static int ReadPicture(const char* name, QVA_IMAGE* image)
{
    FILE* file = fopen(name, "rb");
    size_t bytes = 0;
    int isRead = 0;
    if (file == NULL) {
        return 0;
    }
    if (fscanf(file, "P6 %u %u 65535", &image->width, &image->height) == 2 && fgetc(file) != EOF &&
        image->width > 0 && image->width <= 100000 && image->height > 0 && image->height <= 100000)
    {
        image->stride = (uint64_t)image->width * 6;
        bytes = (size_t)image->stride * image->height;
        image->pixels = malloc(bytes);
        isRead = image->pixels != NULL && fread(image->pixels, 1, bytes, file) == bytes;
    }
    fclose(file);
    if (isRead) {
        SwapBytes(image->pixels, bytes);
    }
    return isRead;
}

static int WritePicture(const char* name, const QVA_IMAGE* image)
{
    FILE* file = fopen(name, "wb");
    const size_t bytes = (size_t)image->stride * image->height;
    int isWritten = 0;
    if (file == NULL) {
        return 0;
    }
    SwapBytes(image->pixels, bytes);
    isWritten = fprintf(file, "P6\n%u %u\n65535\n", image->width, image->height) > 0 &&
                fwrite(image->pixels, 1, bytes, file) == bytes;
    return fclose(file) == 0 && isWritten;
}

/* Prints a picture in place. */
static uint32_t Print(QVA_IMAGE* image, const void* profile)
{
    const QVA_SOURCE_RANGE range = {QVA_GAMMA_PQ, 0.0f, 1000.0f};
    const QVA_OUTPUT_CONDITIONS paper = {100,
                                         1.3f,
                                         1.0,
                                         1.0,
                                         profile,
                                         QVA_INTENT_RELATIVE_COLORIMETRIC,
                                         QVA_OPTION_BLACK_POINT_COMPENSATION};
    QVA_HANDLE handle = NULL;
    uint32_t status = QVA_Initialize(&handle);
    if (status == QVA_OK) {
        status = QVA_ApplyQVAForPrint_Wrapper(handle, image, image, &range, sizeof range, &paper);
        QVA_Terminate(&handle);
    }
    return status;
}

int main(int count, char** arguments)
{
    QVA_IMAGE image = {0, 0, 0, 3, 16, QVA_FORMAT_RGB16, QVA_COLOR_SPACE_BT2020, 0, NULL};
    void* profile = count == 4 ? ReadProfile(arguments[2]) : NULL;
    int result = 1;
    if (count != 4) {
        fprintf(stderr, "usage: print_picture PICTURE.ppm PRINTER.icc PRINT.ppm\n");
    } else if (profile == NULL || !ReadPicture(arguments[1], &image)) {
        fprintf(stderr, "%s: cannot be read\n", arguments[profile == NULL ? 2 : 1]);
    } else {
        const uint32_t status = Print(&image, profile);
        result = status != QVA_OK || !WritePicture(arguments[3], &image);
        if (status != QVA_OK) {
            fprintf(stderr, "%s: not printed, status %u\n", arguments[1], status);
        } else if (result != 0) {
            fprintf(stderr, "%s: cannot be written\n", arguments[3]);
        }
    }
    free(image.pixels);
    free(profile);
    return result;
}
