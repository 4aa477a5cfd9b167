// loadPCX on any file. Headers that ask for more than 4 megapixels are skipped: a short file
// may legitimately describe a picture of gigabytes, which says nothing about the decoder.
#include "fuzzing.h"

#include <zornx/image/imagecodecs.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size >= 12) {
        const int width = (data[8] | data[9] << 8) - (data[4] | data[5] << 8) + 1;
        const int height = (data[10] | data[11] << 8) - (data[6] | data[7] << 8) + 1;
        if (qint64(width) * height > 4 << 20)
            return 0;
    }
    ZornFuzz::InputDevice device(ZornFuzz::bytes(data, size));
    QImage image;
    bool hasPalette = false;
    Zorn::loadPCX(image, &device, &hasPalette);
    return 0;
}
