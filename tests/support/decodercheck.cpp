#include "support/decodercheck.h"

#include "support/plaindecoder.h"
#include "support/transcripttesting.h"
#include "transcript/incrementaloutputdecoder.h"

#include <QByteArray>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

using Fragments = QList<DecoderFragment>;

bool isSound(const Fragments &fragments)
{
    bool afterText = false;
    for (const DecoderFragment &fragment : fragments) {
        const bool isText = fragment.kind == DecoderFragmentKind::Text;
        if (isText ? fragment.text.isEmpty() || afterText || !isSafeToShow(fragment.text)
                   : !fragment.text.isEmpty() || !fragment.directionText.isEmpty())
            return false;
        afterText = isText;
    }
    return true;
}

QString problem(const Fragments &actual, const Fragments &expected)
{
    if (actual != expected) {
        return u"shows "_s + describe(actual).join(u", "_s) + u" instead of "
               + describe(expected).join(u", "_s);
    }
    return isSound(actual) ? QString() : u"unsafe: "_s + describe(actual).join(u", "_s);
}

QString directionOf(const Fragments &fragments)
{
    QString text;
    for (const DecoderFragment &fragment : fragments)
        text += fragment.directionText;
    return text;
}

} // namespace

bool isSafeToShow(const QString &text)
{
    for (const uint codePoint : text.toUcs4()) {
        if (codePoint != u'\t' && plain::isEscaped(codePoint))
            return false;
    }
    return text.isValidUtf16();
}

QString decoderProblem(const QList<QByteArrayView> &pieces)
{
    IncrementalOutputDecoder decoder;
    plain::Decoder plainDecoder;
    QByteArray bytes;
    Fragments all;
    const auto check = [&all](const Fragments &actual, const Fragments &expected) {
        all += expected;
        return problem(actual, expected);
    };
    for (const QByteArrayView piece : pieces) {
        const QString found = check(decoder.append(piece), plainDecoder.append(piece));
        if (!found.isEmpty())
            return found;
        bytes += piece;
    }
    const QString found = check(decoder.finish(), plainDecoder.finish());
    if (!found.isEmpty())
        return found;

    const DecodedText body = decoder.decode(bytes);
    const DecodedText rest = decoder.decodeRest();
    if (body.text() + rest.text() != plain::textOf(all)
        || directionOf(body.fragments() + rest.fragments()) != directionOf(all))
        return u"the pieces matter"_s;
    if (body.displayBytes() + rest.displayBytes() != plain::displayBytesOf(all))
        return u"the display bytes are %1"_s.arg(body.displayBytes() + rest.displayBytes());
    return QString();
}

} // namespace tarn::console
