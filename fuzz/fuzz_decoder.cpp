// The decoder beside the plain one. The first byte is a number of pieces; their lengths and then
// their bytes follow, and what is left is the last piece.

#include "fuzz/fuzzing.h"

#include "support/decodercheck.h"

#include <algorithm>

using namespace tarn::console;

namespace {

QList<QByteArrayView> piecesOf(QByteArrayView input)
{
    if (input.isEmpty())
        return {};
    const qsizetype count = std::min<qsizetype>(uchar(input.front()), input.size() - 1);
    const QByteArrayView lengths = input.sliced(1, count);
    QByteArrayView bytes = input.sliced(1 + count);
    QList<QByteArrayView> pieces;
    for (const char length : lengths) {
        pieces << bytes.first(std::min<qsizetype>(uchar(length), bytes.size()));
        bytes = bytes.sliced(pieces.last().size());
    }
    pieces << bytes;
    return pieces;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uchar *data, size_t size)
{
    static ByteCount byteCount;
    byteCount.add(size);
    stopAt(decoderProblem(piecesOf(QByteArrayView(data, qsizetype(size)))));
    return 0;
}
