#include "window/sourcedrop.h"

#include "session/filename.h"

#include <QApplication>
#include <QDropEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>
#include <QWidget>

#include <algorithm>
#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

bool carriesFiles(const QMimeData &data)
{
    const QList<QUrl> urls = data.urls();
    return std::any_of(urls.begin(), urls.end(), [](const QUrl &url) { return url.isLocalFile(); });
}

/// The path of the one source file that is all the data has; empty when there is something else.
QString sourceFile(const QMimeData &data)
{
    const QList<QUrl> urls = data.urls();
    if (urls.size() != 1)
        return {};
    const QString path = FileName::fromUrl(urls.constFirst());
    const QString name = QFileInfo(path).fileName();
    const bool isSource =
        name.endsWith(".tarn"_L1, Qt::CaseInsensitive) || name.endsWith(u".ترن"_s);
    return isSource && FileName::isFile(path) ? path : QString();
}

} // namespace

SourceDrop::SourceDrop(QWidget *window, std::function<bool()> mayChoose,
                       std::function<void(const QString &)> choose)
    : QObject(window)
    , m_mayChoose(std::move(mayChoose))
    , m_choose(std::move(choose))
{
    window->setAcceptDrops(true);
    window->installEventFilter(this);
}

SourceDrop::~SourceDrop() = default;

void SourceDrop::passThrough(QWidget *field)
{
    field->installEventFilter(this);
}

bool SourceDrop::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (type != QEvent::DragEnter && type != QEvent::DragMove && type != QEvent::Drop)
        return false;
    auto *drop = static_cast<QDropEvent *>(event);
    if (!carriesFiles(*drop->mimeData()))
        return false;

    const QString path = sourceFile(*drop->mimeData());
    const bool welcome = watched == parent()
                         && !path.isEmpty()
                         // The file stays where it is, so an offer to move it is not for us.
                         && drop->possibleActions().testFlag(Qt::CopyAction)
                         && !QApplication::activeModalWidget() && m_mayChoose();
    if (!welcome) {
        drop->ignore();
        return true;
    }
    drop->setDropAction(Qt::CopyAction);
    drop->accept();
    if (type == QEvent::Drop)
        m_choose(path);
    return true;
}

} // namespace tarn::console
