#include <QApplication>
#include <QDrag>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

/// A file that can be dragged out of the window, as out of a file manager. Says on standard output
/// where the drag is.
class DraggedFile : public QLabel
{
public:
    explicit DraggedFile(const QString &path)
        : QLabel(u"drag me"_s)
        , m_path(path)
    {
        setAlignment(Qt::AlignCenter);
        setFixedSize(160, 120);
        setWindowTitle(u"drag source"_s);
    }

protected:
    /// Qt tells of the movement only while the button is held.
    void mouseMoveEvent(QMouseEvent *) override
    {
        auto *drag = new QDrag(this);
        auto *data = new QMimeData;
        data->setUrls({QUrl::fromLocalFile(m_path)});
        drag->setMimeData(data);
        connect(drag, &QDrag::actionChanged, this, [](Qt::DropAction action) {
            say(action == Qt::IgnoreAction ? "refused" : "accepted");
        });
        say("started");
        say(drag->exec(Qt::CopyAction) == Qt::IgnoreAction ? "cancelled" : "dropped");
    }

private:
    static void say(const char *word)
    {
        std::puts(word);
        std::fflush(stdout);
    }

    const QString m_path;
};

} // namespace

/// dragsource FILE
int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    DraggedFile file(QApplication::arguments().value(1));
    file.show();
    return QApplication::exec();
}
