#pragma once
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "port/FileSystem.h"
#include "settings/Settings.h"
#include "support/ChildProcess.h"
#include "support/LoopbackHttpServer.h"
#include "support/TempDir.h"

namespace vantrel::test {

// The program folder of one run (VANTREL_HOME) with its settings record, a bin folder put first
// on PATH (fake xdg-open and xdg-email), and the clean environment the program runs in.
class ProgramHome {
public:
    ProgramHome();

    // The record written as default.ini by Save(): the Linux defaults made quiet and quick (no
    // browser, no auto-connect, no connect wait).
    Settings& GetSettings() { return *m_pSettings; }
    void Save();
    // One URL row, selected.
    void UseUrl(const std::string& strAddress, const std::string& strTemplate = "");

    std::string File(const std::string& strName) const { return m_dir.File(strName); }
    // An executable shell script in the bin folder that writes its arguments, one a line, to
    // <name>.args in the program folder.
    std::string AddRecorder(const std::string& strName);
    std::string RecordedArgs(const std::string& strName) const;
    std::vector<std::string> Environment() const;
    // Sets a variable of the program's environment; an empty value takes it out.
    void SetEnvironment(const std::string& strName, const std::string& strValue);
    // Paths of the files of the program folder whose names end with strSuffix (the day files of
    // the logs), sorted.
    std::vector<std::string> FilesEndingWith(const std::string& strSuffix) const;

private:
    TempDir m_dir;
    std::unique_ptr<FileSystem> m_pFiles;
    std::unique_ptr<Settings> m_pSettings;
    std::map<std::string, std::string> m_environment;
};

// The program run to its end; nExit is -1 when it was still running after 30 s.
struct ProgramRun {
    int nExit = -1;
    std::string strOut;
    std::string strErr;
};
ProgramRun RunVantrel(const ProgramHome& home, const std::vector<std::string>& arguments,
                      const std::string& strProgram = VANTREL_EXE);

}  // namespace vantrel::test
