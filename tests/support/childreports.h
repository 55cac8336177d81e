#pragma once

#include <string_view>

/// What the scripted child can tell about the process it finds itself in, one "name:value" per
/// line on standard output.
namespace tarn::console::child {

void setArguments(int count, char **values);

void showArguments();
void showDirectory();
/// The whole environment, or the one variable that is named.
void showEnvironment(std::string_view name);
void showIds();
void showDescriptors();
void showSignals();
void showParentDeathSignal();

} // namespace tarn::console::child
