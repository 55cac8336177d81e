#pragma once

#include <QList>
#include <QObject>
#include <QStringList>

namespace tarn::console {

/// In the place of a screen reader: whether somebody listens, and what they have been given to say.
/// Only a program that has heard.cpp among its own sources has it.
namespace Heard {

/// To be called before the first voice of the process, which passes things on to whoever was there.
void listen();
/// Forgets what was heard. From now on somebody listens, or nobody does.
void reset();
void setListening(bool listening);

const QStringList &texts();
/// What had the texts; the window where Qt has an event for them.
const QList<QObject *> &speakers();
/// Every event that came through, of whatever kind and widget.
int eventCount();

} // namespace Heard

} // namespace tarn::console
