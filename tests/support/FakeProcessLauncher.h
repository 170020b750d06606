#pragma once
#include <functional>
#include <string>
#include <vector>

#include "port/ProcessLauncher.h"

namespace vantrel::test {

// Records every start as one line ("open <file> | <parameters>", "process <app> | <command line>",
// "spawn <arg> <arg> ...") in its own log or in one shared with other fakes, so that tests can check
// the order of everything a hand-off did. A hook lets a test make windows appear on a start.
class FakeProcessLauncher final : public ProcessLauncher {
public:
    explicit FakeProcessLauncher(HandOffStyle style = HandOffStyle::Handset, std::vector<std::u16string>* pLog = nullptr)
        : m_style(style), m_pLog(pLog ? pLog : &m_log) {}

    HandOffStyle Style() const override { return m_style; }
    bool ShellOpen(const std::u16string& strFile, const std::u16string& strParameters) override {
        m_pLog->push_back(u"open " + strFile + u" | " + strParameters);
        if (m_onStart) m_onStart(strFile);
        return true;
    }
    bool StartProcess(const std::u16string& strApplication, const std::u16string& strCommandLine) override {
        m_pLog->push_back(u"process " + strApplication + u" | " + strCommandLine);
        if (m_onStart) m_onStart(strApplication);
        return true;
    }
    bool Spawn(const std::vector<std::u16string>& arguments) override {
        std::u16string strLine = u"spawn";
        for (const std::u16string& strArgument : arguments) strLine += u" " + strArgument;
        m_pLog->push_back(strLine);
        return true;
    }

    HandOffStyle m_style;
    std::function<void(const std::u16string&)> m_onStart;

private:
    std::vector<std::u16string> m_log;
    std::vector<std::u16string>* m_pLog;
};

}  // namespace vantrel::test
