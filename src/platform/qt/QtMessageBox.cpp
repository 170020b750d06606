#include "platform/qt/QtMessageBox.h"

#include <QAbstractButton>
#include <QPushButton>
#include <QMessageBox>
#include <QPointer>
#include <QWidget>

#include <vector>

#include "platform/qt/QtUiThread.h"
#include "platform/qt/QtWindowHandle.h"

namespace vantrel {

namespace {

constexpr int kIdAbort = 3;
constexpr int kIdRetry = 4;
constexpr int kIdIgnore = 5;
constexpr std::uint32_t kIconMask = 0xF0;
constexpr std::uint32_t kIconQuestion = 0x20;
constexpr std::uint32_t kIconAsterisk = 0x40;
constexpr std::uint32_t kDefButtonShift = 8;

struct Choice {
    QMessageBox::StandardButton button;
    int nAnswer;
};

std::vector<Choice> ChoicesOf(std::uint32_t nFlags) {
    using B = QMessageBox;
    switch (nFlags & mb::kButtonMask) {
    case 1: return {{B::Ok, mb::kIdOk}, {B::Cancel, mb::kIdCancel}};
    case 2: return {{B::Abort, kIdAbort}, {B::Retry, kIdRetry}, {B::Ignore, kIdIgnore}};
    case 3: return {{B::Yes, mb::kIdYes}, {B::No, mb::kIdNo}, {B::Cancel, mb::kIdCancel}};
    case 4: return {{B::Yes, mb::kIdYes}, {B::No, mb::kIdNo}};
    case 5: return {{B::Retry, kIdRetry}, {B::Cancel, mb::kIdCancel}};
    default: return {{B::Ok, mb::kIdOk}};
    }
}

// The answer of Escape, the close box and a Quit: Cancel, else No, else the first button.
int EscapeAnswer(const std::vector<Choice>& choices) {
    for (int nAnswer : {mb::kIdCancel, mb::kIdNo})
        for (const Choice& c : choices)
            if (c.nAnswer == nAnswer) return nAnswer;
    return choices.front().nAnswer;
}

QMessageBox::Icon IconOf(std::uint32_t nFlags) {
    switch (nFlags & kIconMask) {
    case mb::kIconHand: return QMessageBox::Critical;
    case kIconQuestion: return QMessageBox::Question;
    case mb::kIconExclamation: return QMessageBox::Warning;
    case kIconAsterisk: return QMessageBox::Information;
    default: return (nFlags & mb::kButtonMask) == mb::kYesNo ? QMessageBox::Question : QMessageBox::NoIcon;
    }
}

// Message texts use CR LF line ends.
QString PlainText(const std::u16string& str) {
    QString strText = QString::fromUtf16(str.data(), static_cast<qsizetype>(str.size()));
    strText.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    return strText;
}

}  // namespace

int QtMessageBox::Show(WindowHandle hOwner, const std::u16string& strText, const std::u16string& strCaption,
                       std::uint32_t nFlags) {
    QWidget* pOwner = WidgetOfHandle(hOwner);
    QPointer<QMessageBox> pBox = new QMessageBox(pOwner ? pOwner->window() : nullptr);
    pBox->setWindowModality(pOwner ? Qt::WindowModal : Qt::ApplicationModal);
    pBox->setWindowTitle(PlainText(strCaption));
    pBox->setTextFormat(Qt::PlainText);  // a message may hold "<" and URLs, never markup
    pBox->setText(PlainText(strText));
    pBox->setIcon(IconOf(nFlags));

    const std::vector<Choice> choices = ChoicesOf(nFlags);
    const int nEscape = EscapeAnswer(choices);
    for (const Choice& c : choices) {
        QAbstractButton* pButton = pBox->addButton(c.button);
        if (c.nAnswer == nEscape) pBox->setEscapeButton(pButton);
    }
    const std::size_t nDefault = (nFlags >> kDefButtonShift) & 0xF;
    pBox->setDefaultButton(choices[nDefault < choices.size() ? nDefault : 0].button);

    if (m_ui.IsQuitting()) {
        delete pBox.data();
        return nEscape;
    }
    QtUiThread::RunId nRun = 0;
    int nAnswer = nEscape;
    QObject::connect(pBox, &QDialog::finished, pBox, [&] {
        const QMessageBox::StandardButton button = pBox->standardButton(pBox->clickedButton());
        for (const Choice& c : choices)
            if (c.button == button) nAnswer = c.nAnswer;
        m_ui.EndRun(nRun, nAnswer);
    });
    // An owner closed under the box takes the box with it.
    const QMetaObject::Connection gone = QObject::connect(pBox, &QObject::destroyed, [&] { m_ui.EndRun(nRun, nAnswer); });
    pBox->open();
    m_ui.RunModal(&nRun);
    if (pBox) {
        QObject::disconnect(gone);
        delete pBox.data();
    }
    return nAnswer;
}

}  // namespace vantrel
