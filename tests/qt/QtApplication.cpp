#include <QApplication>

#include <gtest/gtest.h>

#include <memory>

namespace {

// One application object for the whole run, made only when tests run (listing them needs none).
class QtApplicationEnvironment final : public testing::Environment {
public:
    void SetUp() override {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
        m_pApplication = std::make_unique<QApplication>(m_nArgc, m_argv);
        QApplication::setQuitOnLastWindowClosed(false);
    }
    void TearDown() override { m_pApplication.reset(); }

private:
    int m_nArgc = 1;
    char m_szName[16] = "qtui_tests";
    char* m_argv[2] = {m_szName, nullptr};
    std::unique_ptr<QApplication> m_pApplication;
};

[[maybe_unused]] testing::Environment* const g_pEnvironment = testing::AddGlobalTestEnvironment(new QtApplicationEnvironment);

}  // namespace
