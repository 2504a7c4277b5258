#pragma once

#include "app/desktop.h"

namespace varemo {

// A desktop for runs without a person: nothing is shown, played or started. Subclasses
// decide what a message box means for them.
class SilentDesktop : public Desktop {
public:
    void showModal(QWidget&) override { }
    void playSound(int) override { }
    void showHelp(int) override { }
    void sendMail() override { }
    void startModule(int) override { }
    // another copy on the same company never stops a run of this kind
    bool activateRunningCopy(const QString&) override { return false; }
    bool restorePlacement(QWidget&, const QString&) override { return false; }
    void savePlacement(QWidget&, const QString&) override { }
    void processEvents() override { }
};

} // namespace varemo
