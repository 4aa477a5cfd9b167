// Decoding of a text file whose encoding is detected.
#include "fuzzing.h"

#include <zornx/code/textcodecs.h>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    Zorn::TextCodecs::initialize();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    int id = -1;
    Zorn::TextCodecs::stringFromData(ZornFuzz::bytes(data, size), &id);
    return 0;
}
