#pragma once

#include <QLabel>

namespace tarn::console {

/// Shows a path as selectable plain text, always left to right. A path that is too long for the
/// label never widens it: its beginning is cut off behind an ellipsis, so that the file name stays
/// in sight, and the tool tip has it all. Controls in a path are drawn as escapes; text() is the
/// path.
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

private:
    int lineHeight(int labelHeight) const;
    void showEnd();
    bool isCut() const { return contentsMargins().left() < 0; }
};

} // namespace tarn::console
