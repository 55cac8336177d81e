#pragma once

#include <QList>
#include <QString>

namespace tarn::console {

enum class DecoderFragmentKind : qint32 { Text = 0, Break = 1 };

/// A piece of decoded output: display text, or one line break.
struct DecoderFragment
{
    DecoderFragmentKind kind = DecoderFragmentKind::Text;
    /// What is displayed, escapes included; empty for a Break.
    QString text;
    /// The characters of the text that the program really printed, without escapes and tabs. Only
    /// they may decide the direction of a paragraph. Empty for a Break.
    QString directionText;

    bool operator==(const DecoderFragment &) const = default;
};

} // namespace tarn::console

Q_DECLARE_TYPEINFO(tarn::console::DecoderFragment, Q_RELOCATABLE_TYPE);
