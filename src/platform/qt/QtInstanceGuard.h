#pragma once
#include <QLocalServer>
#include <QString>

#include "port/WindowModule.h"

namespace vantrel {

// One instance per user: a local socket named after the program in the user's runtime folder.
// A later start connects, asks for the window with "raise\n" and ends; a socket left by an
// instance that died refuses the connection and is replaced.
class QtInstanceGuard final : public InstanceGuard {
public:
    // How long a later start waits for the running instance to take its request.
    static constexpr int kRequestWaitMs = 3000;

    bool Claim(const std::u16string& strName, std::function<void()> onRaise) override;

    // Where the socket of strName lives for this user.
    static QString SocketPath(const std::u16string& strName);

private:
    static bool AskToRaise(const QString& strPath);
    void OnConnection();

    QLocalServer m_server;
    std::function<void()> m_fnRaise;
};

}  // namespace vantrel
