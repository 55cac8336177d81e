#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QLabel>
#include <QObject>
#include <QStringList>

namespace tarn::console {

/// The texts that a label shows, in order, as a user could see them: those that are still there
/// when the event that brought them has been handled.
class LabelRecorder : public QObject
{
public:
    explicit LabelRecorder(const QLabel *label)
        : m_label(label)
        , m_texts(label->text())
    {
        QCoreApplication::instance()->installEventFilter(this);
    }

    const QStringList &texts()
    {
        note();
        return m_texts;
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        note();
        return QObject::eventFilter(watched, event);
    }

private:
    void note()
    {
        if (m_label->text() != m_texts.last())
            m_texts.append(m_label->text());
    }

    const QLabel *m_label;
    QStringList m_texts;
};

} // namespace tarn::console
