// One sound reader on any bytes: it must fail cleanly or give a sample whose data holds whole
// frames of what its header says. FUZZ_READER names the reader (soundFromWAV ...).
#include "fuzzing.h"

#include <zornx/sound/soundsample.h>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    ZornFuzz::InputDevice device(ZornFuzz::bytes(data, size));
    const Zorn::SoundSample sample = Zorn::FUZZ_READER(&device);
    if (!sample.data.isEmpty()) {
        const unsigned int frame = sample.channels * Zorn::bytesPerSample(sample.bits);
        if (frame == 0 || sample.data.size() % frame != 0)
            std::abort();
    }
    return 0;
}
