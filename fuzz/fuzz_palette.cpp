// PaletteObject::fromFile on any input, one target per palette reader. FUZZ_FORMAT is the
// format name given to fromFile; the readers chosen by content get their magic (FUZZ_MAGIC)
// put in front of the input, so that every run reaches the reader.
#include "fuzzing.h"

#include <zornx/image/palette.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray input = ZornFuzz::bytes(data, size);
#ifdef FUZZ_MAGIC
    input.prepend(FUZZ_MAGIC);
#endif
    ZornFuzz::InputDevice device(input);
    Zorn::RGBA table[256] = {};
    Zorn::PaletteObject palette(table);
    palette.fromFile(&device, FUZZ_FORMAT);
    palette.index(table[0]);
    return 0;
}
