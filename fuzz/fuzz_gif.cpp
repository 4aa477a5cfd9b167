// GIFImage::load and loadImage "GIF" on any file.
#include "fuzzing.h"

#include <zornx/image/gifimage.h>
#include <zornx/image/imagecodecs.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    ZornFuzz::InputDevice device(ZornFuzz::bytes(data, size));
    Zorn::GIFImage gif;
    gif.load(&device);
    device.seek(0);
    QImage image;
    Zorn::loadImage(&device, "GIF", image);
    return 0;
}
