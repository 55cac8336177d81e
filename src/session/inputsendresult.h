#pragma once

#include <QtGlobal>

namespace tarn::console {

/// The answer to a line of program input.
enum class InputSendResult : qint32 {
    Sent = 0,        ///< the line and its line feed have been written (of a validation: acceptable)
    Pending = 1,     ///< taken but not yet written completely, or refused because another is not
    NotRunning = 2,  ///< no program runs, and its input was not closed
    InputClosed = 3, ///< the input of this run has been closed
    NotOneLine = 4,  ///< the line contains a carriage return or a line feed
    TooLong = 5,     ///< the line is longer than ProgramSession::maximumInputLineBytes
};

} // namespace tarn::console
