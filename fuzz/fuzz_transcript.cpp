// The transcript beside the plain one; the input is a script of calls.

#include "fuzz/fuzzing.h"

#include "support/transcriptscript.h"

using namespace tarn::console;

extern "C" int LLVMFuzzerTestOneInput(const uchar *data, size_t size)
{
    static ByteCount byteCount;
    byteCount.add(size);
    stopAt(playScript(QByteArrayView(data, qsizetype(size))));
    return 0;
}
