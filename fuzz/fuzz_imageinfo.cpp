// imageInfoFromFile of every format: the first byte picks the format, the rest is the file.
#include "fuzzing.h"

#include <zornx/image/imagecodecs.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1)
        return 0;
    static const char *const formats[] = {"PNG", "BMP", "PCX", "GIF", "XYZ"};
    ZornFuzz::InputDevice device(ZornFuzz::bytes(data + 1, size - 1));
    Zorn::imageInfoFromFile(&device, formats[data[0] % 5]);
    return 0;
}
