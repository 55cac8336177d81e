#pragma once

#include <QImage>
#include <QPalette>
#include <QStyle>
#include <QStyleFactory>
#include <QTest>
#include <QWidget>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

/// Contrast by the Web Content Accessibility Guidelines, of real pixels, in palettes that desktops
/// have.
namespace tarn::console {

inline double luminance(QRgb colour)
{
    const auto linear = [](int channel) {
        const double value = channel / 255.0;
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour))
           + 0.0722 * linear(qBlue(colour));
}

inline double contrast(QRgb one, QRgb other)
{
    const double first = luminance(one);
    const double second = luminance(other);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

inline QPalette darkPalette()
{
    QPalette palette(QColor(0x35, 0x35, 0x35), QColor(0x2a, 0x2a, 0x2a));
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0xae, 0xe9));
    return palette;
}

inline QPalette highContrastPalette()
{
    QPalette palette(Qt::black, Qt::black);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::BrightText,
          QPalette::PlaceholderText, QPalette::ToolTipText})
        palette.setColor(role, Qt::white);
    palette.setColor(QPalette::Highlight, Qt::yellow);
    palette.setColor(QPalette::HighlightedText, Qt::black);
    return palette;
}

struct NamedPalette
{
    const char *name;
    QPalette palette;
};

inline std::array<NamedPalette, 3> palettes()
{
    const std::unique_ptr<QStyle> style(QStyleFactory::create(QStringLiteral("Fusion")));
    return {{{"light", style->standardPalette()},
             {"dark", darkPalette()},
             {"high contrast", highContrastPalette()}}};
}

/// Rows for a test that holds in every palette, in the column "palette".
inline void addPalettes()
{
    QTest::addColumn<QPalette>("palette");
    for (const NamedPalette &entry : palettes())
        QTest::newRow(entry.name) << entry.palette;
}

inline QImage pictureOf(QWidget *widget)
{
    return widget->grab().toImage().convertToFormat(QImage::Format_RGB32);
}

} // namespace tarn::console
