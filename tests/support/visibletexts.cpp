#include "support/visibletexts.h"

#include <QAbstractButton>
#include <QAction>
#include <QComboBox>
#include <QFontComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QSpinBox>
#include <QTextEdit>
#include <QToolButton>
#include <QWidget>

#include <algorithm>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// Names that no language translates, and the endings of source files.
const QStringList names{u"TARN"_s, u"English"_s, u"العربية"_s, u".tarn"_s, u".ترن"_s};

class Collector
{
public:
    void collect(const QWidget *widget);
    void collectActions(const QList<QAction *> &actions);
    const QList<VisibleText> &texts() const { return m_texts; }

private:
    void add(const QObject *object, const QString &kind, const QString &text);
    void collectOwnTexts(const QWidget *widget);
    void collectContentTexts(const QWidget *widget);
    void collectChoices(const QWidget *widget);
    void collectMenus(const QWidget *widget);

    QList<VisibleText> m_texts;
};

void Collector::add(const QObject *object, const QString &kind, const QString &text)
{
    if (text.isEmpty())
        return;
    const QString place = QLatin1StringView(object->metaObject()->className()) + u' '
                          + object->objectName() + u' ' + kind;
    m_texts.append({place, text});
}

void Collector::collect(const QWidget *widget)
{
    collectOwnTexts(widget);
    collectContentTexts(widget);
    collectChoices(widget);
    collectMenus(widget);
    for (const QObject *child : widget->children()) {
        const auto *childWidget = qobject_cast<const QWidget *>(child);
        if (childWidget && !childWidget->isWindow() && childWidget->isVisible())
            collect(childWidget);
    }
}

void Collector::collectOwnTexts(const QWidget *widget)
{
    if (widget->isWindow())
        add(widget, u"title"_s, widget->windowTitle());
    add(widget, u"tool tip"_s, widget->toolTip());
    add(widget, u"status tip"_s, widget->statusTip());
    add(widget, u"explanation"_s, widget->whatsThis());
    add(widget, u"accessible name"_s, widget->accessibleName());
    add(widget, u"accessible description"_s, widget->accessibleDescription());
}

void Collector::collectContentTexts(const QWidget *widget)
{
    if (const auto *label = qobject_cast<const QLabel *>(widget))
        add(label, u"text"_s, label->text());
    else if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
        add(button, u"text"_s, button->text());
    else if (const auto *line = qobject_cast<const QLineEdit *>(widget))
        add(line, u"placeholder"_s, line->placeholderText());
    else if (const auto *edit = qobject_cast<const QTextEdit *>(widget))
        add(edit, u"placeholder"_s, edit->placeholderText());
    else if (const auto *number = qobject_cast<const QSpinBox *>(widget))
        add(number, u"affixes"_s, number->prefix() + number->suffix() + number->specialValueText());
}

void Collector::collectChoices(const QWidget *widget)
{
    const auto *combo = qobject_cast<const QComboBox *>(widget);
    if (combo && !qobject_cast<const QFontComboBox *>(combo)) {
        for (int i = 0; i < combo->count(); ++i)
            add(combo, u"item"_s, combo->itemText(i));
    }
    if (const auto *header = qobject_cast<const QHeaderView *>(widget)) {
        for (int i = 0; i < header->count(); ++i) {
            const QVariant section = header->model()->headerData(i, header->orientation());
            add(header, u"section"_s, section.toString());
        }
    }
}

void Collector::collectMenus(const QWidget *widget)
{
    if (const auto *bar = qobject_cast<const QMenuBar *>(widget))
        collectActions(bar->actions());
    else if (const auto *menu = qobject_cast<const QMenu *>(widget))
        collectActions(menu->actions());
    else if (const auto *button = qobject_cast<const QToolButton *>(widget);
             button && button->menu())
        collectActions(button->menu()->actions());
    else if (widget->contextMenuPolicy() == Qt::ActionsContextMenu)
        collectActions(widget->actions());
}

void Collector::collectActions(const QList<QAction *> &actions)
{
    for (const QAction *action : actions) {
        if (!action->isVisible() || action->isSeparator())
            continue;
        add(action, u"text"_s, action->text());
        add(action, u"tool tip"_s, action->toolTip());
        add(action, u"status tip"_s, action->statusTip());
        if (const QMenu *menu = action->menu())
            collectActions(menu->actions());
    }
}

} // namespace

QList<VisibleText> visibleTexts(const QWidget *root)
{
    Collector collector;
    collector.collect(root);
    return collector.texts();
}

QList<VisibleText> actionTexts(const QList<QAction *> &actions)
{
    Collector collector;
    collector.collectActions(actions);
    return collector.texts();
}

QString translatablePart(const QString &text)
{
    QString part = text.section(u'\t', 0, 0);
    part.remove(u'&');
    for (const QString &name : names)
        part.remove(name);
    return part;
}

QStringList textsWithScript(QChar::Script script, const QList<VisibleText> &texts)
{
    QStringList found;
    for (const VisibleText &visible : texts) {
        const QString part = translatablePart(visible.text);
        const bool has = std::any_of(part.cbegin(), part.cend(), [script](QChar character) {
            return character.isLetter() && character.script() == script;
        });
        if (has)
            found.append(visible.place + u": "_s + visible.text);
    }
    return found;
}

} // namespace tarn::console
