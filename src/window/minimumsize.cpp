#include "window/minimumsize.h"

#include "widgets/transcriptview.h"
#include "window/consolelayout.h"
#include "window/statuslabel.h"

#include <QEvent>
#include <QLayout>
#include <QMainWindow>
#include <QScreen>

#include <algorithm>

namespace tarn::console {

namespace {

constexpr QSize usualMinimumSize(800, 500);

/// So many lines of output remain while a status wraps.
constexpr int linesBesideLongStatus = 3;

} // namespace

MinimumSize::MinimumSize(QMainWindow *window, const ConsoleLayout &layout)
    : QObject(layout.content)
    , m_window(window)
    , m_layout(layout)
{
    update();
    window->installEventFilter(this);
    layout.content->installEventFilter(this);
}

bool MinimumSize::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::LayoutRequest
        || (watched == m_layout.content && event->type() == QEvent::Resize))
        update();
    return QObject::eventFilter(watched, event);
}

void MinimumSize::update()
{
    shareStatusLines();
    const QSize available = m_window->screen()->availableSize();
    require(m_window->minimumSizeHint().boundedTo(available).expandedTo(usualMinimumSize));
}

/// The outcome of a run is read first.
void MinimumSize::shareStatusLines()
{
    const QLayout *rows = m_layout.content->layout();
    const QMargins margins = rows->contentsMargins();
    const int width = m_layout.content->width() - margins.left() - margins.right();
    const int line = m_layout.runStatus->lineHeight();
    // The plain hint counts one line for each status and for the output.
    const int spare = m_layout.content->height() - rows->minimumSize().height()
                      - (linesBesideLongStatus - 1) * m_layout.transcriptView->lineHeight();
    int extraLines = std::max(0, spare / line);
    for (StatusLabel *status : {m_layout.runStatus, m_layout.inputStatus}) {
        const int extra = std::min(extraLines, status->linesForWidth(width) - 1);
        status->setMaximumLines(1 + extra);
        extraLines -= extra;
    }
}

/// What the user has resized meanwhile stays.
void MinimumSize::require(QSize minimum)
{
    const bool isFree = !m_window->isMaximized() && !m_window->isFullScreen();
    const QSize before = m_window->size();
    m_window->setMinimumSize(minimum);
    if (before.expandedTo(minimum) != before) {
        if (!m_sizeBefore.isValid() || before != m_grownSize)
            m_sizeBefore = before;
        m_grownSize = before.expandedTo(minimum);
    } else if (m_sizeBefore.isValid()) {
        if (before != m_grownSize || !isFree) {
            m_sizeBefore = {};
            return;
        }
        m_grownSize = m_sizeBefore.expandedTo(minimum);
        m_window->resize(m_grownSize);
        if (m_grownSize == m_sizeBefore)
            m_sizeBefore = {};
    }
}

} // namespace tarn::console
