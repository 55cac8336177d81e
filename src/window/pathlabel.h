#pragma once

#include <QLabel>
#include <QMouseEvent>

class QTextLayout;

namespace tarn::console {

/// Shows a path as selectable plain text, always left to right. A path that is too long for the
/// label never widens it: its beginning is cut off behind an ellipsis, so that the file name stays
/// in sight, and the tool tip has it all. Controls in a path are drawn as escapes, and neighbouring
/// Arabic folders keep their order; text() and what is copied is the path.
class PathLabel : public QLabel
{
public:
    explicit PathLabel(QWidget *parent = nullptr);

    void showPath(const QString &path);
    /// Shows a remark in place of a path.
    void showRemark(const QString &remark);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    int lineHeight(int labelHeight) const;
    void showEnd();
    bool showsPath() const { return m_path == text() && !m_path.isEmpty(); }
    QString shownText() const;
    bool isDrawnOtherwise() const;
    void layOut(QTextLayout *layout) const;
    QPointF placeOfLayout(const QTextLayout &layout) const;
    void drawShownText(QPainter *painter) const;
    qsizetype shownPosition(qsizetype position) const;
    qsizetype positionOfShown(qsizetype shown) const;
    QPointF placeInLabel(QPointF point) const;
    QMouseEvent inLabel(const QMouseEvent &event) const;
    bool isCut() const { return contentsMargins().left() < 0; }

    QString m_path; ///< empty when a remark is shown
};

} // namespace tarn::console
