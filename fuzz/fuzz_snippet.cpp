// Reading a code snippet file, from its bytes (as the snippet editor does) and as text (as the
// snippet list does).
#include "fuzzing.h"

#include <zornx/codeedit/snippets.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input = ZornFuzz::bytes(data, size);
    Zorn::SnippetContent::fromBytes(input);
    Zorn::SnippetContent::fromText(QString::fromUtf8(input));
    return 0;
}
