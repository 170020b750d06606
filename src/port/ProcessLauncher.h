#pragma once
#include <memory>
#include <string>
#include <vector>

namespace vantrel {

// Which conventions the platform offers for handing work to other programs: the handset's own
// programs addressed by path ("\Windows\tmail.exe", the map application and its windows), or a
// desktop's generic openers (xdg-email, a "geo:" URI for whatever map the user has).
enum class HandOffStyle {
    Handset,
    Desktop,
};

// Starting other programs. Nothing here waits for the started program: a child never blocks the
// caller and never lingers as a zombie.
class ProcessLauncher {
public:
    virtual ~ProcessLauncher() = default;

    virtual HandOffStyle Style() const = 0;

    // ShellExecuteEx with the verb "open": an executable file is started with strParameters as its
    // command line; anything else (a document, a URL) goes to the desktop's opener. True when the
    // start was attempted successfully as far as the platform tells.
    virtual bool ShellOpen(const std::u16string& strFile, const std::u16string& strParameters) = 0;

    // CreateProcessW: starts strApplication with strCommandLine (the arguments only, in the Windows
    // quoting rules).
    virtual bool StartProcess(const std::u16string& strApplication, const std::u16string& strCommandLine) = 0;

    // Starts a program found by name on the search path with ready-split arguments (argument 0 is
    // the program name).
    virtual bool Spawn(const std::vector<std::u16string>& arguments) = 0;
};

std::unique_ptr<ProcessLauncher> CreateProcessLauncher();

}  // namespace vantrel
