#include "platform/qt/QtClipboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace vantrel {

bool QtClipboard::SetUnicodeText(const std::u16string& strText) {
    QClipboard* pClipboard = QGuiApplication::clipboard();
    if (!pClipboard) return false;
    pClipboard->clear();
    pClipboard->setText(QString::fromStdU16String(strText));
    return true;
}

}  // namespace vantrel
