#include "platform/qt/QtInstanceGuard.h"

#include <QDir>
#include <QFileInfo>
#include <QLocalSocket>

#include <unistd.h>

namespace vantrel {

namespace {

constexpr char kRaiseRequest[] = "raise\n";
constexpr char kRaiseAnswer[] = "ok\n";

}  // namespace

QString QtInstanceGuard::SocketPath(const std::u16string& strName) {
    const QString strFile = QString::fromStdU16String(strName);
    // The runtime folder belongs to the user alone; the shared temporary folder needs the user in the name.
    const QString strRuntime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!strRuntime.isEmpty() && QFileInfo(strRuntime).isDir()) return strRuntime + QLatin1Char('/') + strFile;
    return QDir::tempPath() + QLatin1Char('/') + strFile + QLatin1Char('-') + QString::number(::getuid());
}

bool QtInstanceGuard::AskToRaise(const QString& strPath) {
    QLocalSocket socket;
    socket.connectToServer(strPath);
    if (!socket.waitForConnected(kRequestWaitMs)) return false;
    socket.write(kRaiseRequest);
    socket.waitForBytesWritten(kRequestWaitMs);
    // A running instance busy with a long step answers late; it has the request all the same.
    socket.waitForReadyRead(kRequestWaitMs);
    return true;
}

bool QtInstanceGuard::Claim(const std::u16string& strName, std::function<void()> onRaise) {
    const QString strPath = SocketPath(strName);
    if (AskToRaise(strPath)) return false;
    // Nobody answers: whatever is there was left by an instance that died.
    QLocalServer::removeServer(strPath);
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server.listen(strPath)) {
        // Another start took the name in between; it is the instance that runs.
        if (AskToRaise(strPath)) return false;
    }
    m_fnRaise = std::move(onRaise);
    QObject::connect(&m_server, &QLocalServer::newConnection, &m_server, [this] { OnConnection(); });
    return true;
}

void QtInstanceGuard::OnConnection() {
    while (QLocalSocket* pSocket = m_server.nextPendingConnection()) {
        QObject::connect(pSocket, &QLocalSocket::disconnected, pSocket, &QObject::deleteLater);
        QObject::connect(pSocket, &QLocalSocket::readyRead, pSocket, [this, pSocket] {
            if (!pSocket->canReadLine()) return;
            if (pSocket->readLine() == kRaiseRequest && m_fnRaise) m_fnRaise();
            pSocket->write(kRaiseAnswer);
            pSocket->flush();  // the later start waits for the answer before it ends
            pSocket->disconnectFromServer();
        });
    }
}

}  // namespace vantrel
