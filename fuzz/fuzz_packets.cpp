// The packet stream readers. The first two bytes give the size of the picture (1 to 256 each
// way), RLE8 takes a third for its format; the rest is the stream. FUZZ_CODEC picks the reader.
#include "fuzzing.h"

#include <zornx/image/imagecodecs.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const size_t head = FUZZ_CODEC == 2 ? 3 : 2;
    if (size < head)
        return 0;
    QImage::Format format = QImage::Format_Indexed8;
    if (FUZZ_CODEC == 2) {
        const QImage::Format formats[] = {QImage::Format_Indexed8, QImage::Format_RGB888,
                                          QImage::Format_ARGB32};
        format = formats[data[2] % 3];
    }
    QImage image(1 + data[0], 1 + data[1], format);
    ZornFuzz::InputDevice device(ZornFuzz::bytes(data + head, size - head));
    switch (FUZZ_CODEC) {
    case 0:
        Zorn::loadLZ5(image, &device);
        break;
    case 1:
        Zorn::loadRLE5(image, &device);
        break;
    default:
        Zorn::loadRLE8(image, &device);
        break;
    }
    return 0;
}
