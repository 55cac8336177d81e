#pragma once

#include "textlayout/lazydocumentlayout.h"

#include <QSize>
#include <QString>
#include <QTextEdit>
#include <QVBoxLayout>
#include <QWidget>

namespace tarn::console {

/// Two editable text widgets of the same size in windows of their own, one with the lazy layout
/// and one with Qt's, both led through the same history. Every paragraph has a direction and is
/// aligned to the edge at which it begins.
class TwinEdits
{
public:
    /// Not shown yet.
    TwinEdits();

    void show(QSize size);
    void resize(QSize size);

    /// Calls f(edit) for both, the lazy one first.
    template<typename F>
    void both(F f)
    {
        f(lazy());
        f(stock());
    }

    /// Replaces the text, and gives every paragraph the direction of its text.
    void setText(const QString &text);
    void present();

    QTextEdit &lazy() { return *m_lazy.edit; }
    QTextEdit &stock() { return *m_stock.edit; }

    /// Waits until both know all heights and their scroll bars follow; false when it takes too
    /// long.
    bool settle();

    /// Settles; then the first thing in which the lazy one differs in geometry, hit tests or
    /// pixels, as "this instead of that". An empty text when they are the same.
    QString difference();

    /// The same, of what a user sees now.
    QString visibleDifference();

    /// What an edge aligned format is on the lazy or on Qt's layout, which reaches the right edge
    /// by the absolute flag only.
    static Qt::Alignment alignment(const QTextEdit &edit, Qt::Alignment side);

private:
    struct Side
    {
        QWidget window{};
        QTextEdit *edit = new QTextEdit(&window);
    };

    static void complete(QTextEdit &edit);
    void cutStockBlocks();
    QString blockDifference();
    QString hitDifference(Qt::HitTestAccuracy accuracy);

    Side m_lazy;
    Side m_stock;
};

/// One line of a difference.
QString insteadOf(const QString &what, const QString &actual, const QString &expected);

} // namespace tarn::console
