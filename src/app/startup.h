#pragma once

#include <QString>

#include <memory>

namespace varemo {

struct AppState;
class Desktop;
class Contas;

// The splash's load and the main window's load, synchronously: nothing is shown and no
// timer runs. Returns the loaded main window, or nullptr when start-up stopped with one
// of its messages.
std::unique_ptr<Contas> start(const QString& programFolder, AppState& state, Desktop& desktop);

// The splash's load alone, from Caminho.dad to the company's name, with no window: false once
// one of start-up's messages has gone to `desktop`. Leaves the data folder's Dados current.
bool openCompany(const QString& programFolder, AppState& state, Desktop& desktop);

// The real program: command line, splash, main window, event loop.
int run(int argc, char** argv);

} // namespace varemo
