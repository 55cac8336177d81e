#include "app/qtremarks.h"

#include <QLatin1StringView>
#include <QString>
#include <QtGlobal>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

// On Wayland, where the screen has a scale that is no whole number, Qt 6.8 notices while it draws a
// window that it has not told it of the scale yet. It tells it then, and remarks on it.
constexpr auto staleScale = "The cached device pixel ratio value was stale on window "_L1;

QtMessageHandler next = nullptr;

void passOn(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type != QtWarningMsg || !message.startsWith(staleScale))
        next(type, context, message);
}

} // namespace

void muteQtsRemarksOnItself()
{
    const QtMessageHandler before = qInstallMessageHandler(passOn);
    if (before != passOn)
        next = before;
}

} // namespace tarn::console
