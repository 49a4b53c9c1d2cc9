// Writes the pictures that the fuzzing of picture files begins with.
//
//   make_picture_corpus fuzz/corpus/picture
#include "picture_kinds.h"

int main(int count, char** arguments)
{
    if (count != 2) {
        return 2;
    }
    qva::samples::WritePictureKinds(arguments[1]);
    return 0;
}
