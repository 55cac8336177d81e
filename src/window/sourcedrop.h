#pragma once

#include <QObject>
#include <QString>

#include <functional>

namespace tarn::console {

/// Takes one source file that is dropped anywhere on a window, and keeps all other files from being
/// dropped as text into the window's fields.
class SourceDrop : public QObject
{
public:
    /// The window is the parent. `choose` gets the path of a dropped source file, and is only
    /// called while `mayChoose` says yes.
    SourceDrop(QWidget *window, std::function<bool()> mayChoose,
               std::function<void(const QString &)> choose);
    ~SourceDrop() override;

    /// Lets files that are dropped on a field, which takes text itself, through to the window.
    void passThrough(QWidget *field);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    std::function<bool()> m_mayChoose;
    std::function<void(const QString &)> m_choose;
};

} // namespace tarn::console
