#include "acquire/AcquisitionDialog.h"

#include <algorithm>

#include "acquire/WsimParsers.h"
#include "acquire/WsimSession.h"
#include "app/DialogTemplate.h"
#include "deliver/MessageFacility.h"
#include "port/DialogHost.h"
#include "port/UiThread.h"
#include "resource.h"
#include "settings/DualString.h"
#include "settings/Format.h"

namespace vantrel {

namespace {

// The split of a combined position text into its coordinate texts succeeds when a "/" follows a
// non-empty head.
bool HasCoordinateHead(const std::u16string& strText) {
    const std::size_t nSlash = strText.find(u'/');
    return nSlash != std::u16string::npos && nSlash > 0;
}

}  // namespace

AcquisitionDialog::AcquisitionDialog(DialogHost& host, UiThread& ui, WsimSession& session, MessageFacility& messages,
                                     const ResourceModule& resources)
    : m_host(host), m_ui(ui), m_session(session), m_messages(messages), m_resources(resources) {}

AcquisitionDialog::~AcquisitionDialog() { m_session.SetNotify(nullptr, {}); }

int AcquisitionDialog::Run(const AcquisitionRequest& request) {
    m_request = request;
    CreateControls(m_resources, IDD_PROGRESS, m_host);
    m_host.SetCommandHandler([this](int nId, int nNotify) { OnCommand(nId, nNotify); });
    OnInitDialog();
    const int nCode = m_host.RunModal();
    m_session.SetNotify(nullptr, {});
    m_host.SetCommandHandler({});
    return nCode;
}

std::u16string AcquisitionDialog::LoadText(std::uint32_t nId) const {
    DualString str;
    str.LoadStringResource(m_resources, nId);
    return str.Wide();
}

void AcquisitionDialog::OnInitDialog() {
    m_state = AcquisitionState{};
    m_bEnded = false;
    m_host.SetTitle(LoadText(IDS_ACQUIRING));
    m_host.SetText(IDC_PROGRESS_TEXT, LoadText(IsSimple() ? IDS_ACQUIRING_SIMPLE : IDS_ACQUIRING_CSID));
    m_host.CaretToEnd(IDC_PROGRESS_TEXT);
    std::weak_ptr<int> alive = m_pAlive;
    m_session.SetNotify(&m_ui, [this, alive] {
        if (alive.lock()) OnCompletion();
    });
    const bool bSent = IsSimple() ? m_session.SendK20Retry() : m_session.SendK20();
    if (!bSent) Fail(IsSimple() ? IDS_SIMPLE_FAILED : IDS_CSID_FAILED);
}

void AcquisitionDialog::OnCompletion() {
    if (m_bEnded) return;
    if (!Dispatch() && !m_bEnded) PostClose(kEndFailure);
}

// One step of the conversation per completed answer. False when the acquisition failed.
bool AcquisitionDialog::Dispatch() {
    std::u16string strResponse;
    switch (m_session.Identify(strResponse)) {
    case wsim::kK20:
        if (IsSimple()) break;
        if (!ParseCsId(strResponse, m_state.strResult)) {
            Fail(IDS_CSID_FAILED);
            return false;
        }
        Succeed();
        return true;
    case wsim::kK:
        break;
    case wsim::kLbc1:
        if (m_session.SendLbcQuery()) return true;
        Fail(IDS_SIMPLE_FAILED);
        return false;
    case wsim::kLbcQuery:
        m_strQueryAnswer = strResponse;
        if (m_session.SendLbc2()) return true;
        Fail(IDS_SIMPLE_FAILED);
        return false;
    case wsim::kLbc2:
        return AfterLbc2();
    default:
        Fail(IDS_UNKNOWN_DATA);
        return false;
    }
    // Identifier 1 in simple-coordinate mode, and 2: positioning starts.
    if (m_session.SendLbc1()) return true;
    Fail(IDS_SIMPLE_FAILED);
    return false;
}

bool AcquisitionDialog::AfterLbc2() {
    std::u16string strReading;
    if (ParseSimpleCoordinates(m_strQueryAnswer, strReading, &m_session.Log())) {
        ++m_state.nAcquired;
        if (m_state.nAcquired < m_request.nWantedCount) {
            if (HasCoordinateHead(strReading)) {
                auto it = std::find_if(m_state.tally.begin(), m_state.tally.end(),
                                       [&](const auto& entry) { return entry.strText == strReading; });
                if (it != m_state.tally.end()) ++it->nHits;
                else m_state.tally.push_back({strReading, 1});
                ShowProgress(FormatText(u"\r\n取得 %d回目", m_state.nAcquired));
            } else if (m_state.tally.empty()) {
                Fail(IDS_SIMPLE_FAILED);
                return false;
            }
            if (m_session.SendK20Retry()) return true;
        }
        ChooseFromTally(strReading);
        Succeed();
        return true;
    }
    if (m_state.nRetries < m_request.nRetryLimit) {
        ++m_state.nRetries;
        ShowProgress(FormatText(u"\r\nリトライ %d回目", m_state.nRetries));
        if (m_session.SendK20Retry()) return true;
    }
    if (ChooseFromTally({})) {
        Succeed();
        return true;
    }
    Fail(IDS_SIMPLE_FAILED);
    return false;
}

// The result of a simple-coordinate run: with several readings wanted, the text seen most often
// (the first seen among equals); otherwise this reading. False when neither exists.
bool AcquisitionDialog::ChooseFromTally(const std::u16string& strReading) {
    if (m_request.nWantedCount >= 2 && !m_state.tally.empty()) {
        const AcquisitionState::TallyEntry* pBest = &m_state.tally.front();
        for (const auto& entry : m_state.tally)
            if (entry.nHits > pBest->nHits) pBest = &entry;
        m_state.strResult = pBest->strText;
        return true;
    }
    m_state.strResult = strReading;
    return !strReading.empty();
}

void AcquisitionDialog::ShowProgress(const std::u16string& strLine) {
    m_host.SetText(IDC_PROGRESS_TEXT, LoadText(IDS_ACQUIRING_SIMPLE) + strLine);
    m_host.CaretToEnd(IDC_PROGRESS_TEXT);
}

void AcquisitionDialog::Succeed() {
    m_session.Stop();
    PostClose(kEndSuccess);
}

void AcquisitionDialog::Fail(std::uint32_t nMessageId) {
    m_messages.ShowMessageId(m_host.Handle(), nMessageId, caption::kError, mb::kIconHand);
    PostClose(kEndFailure);
}

// Closing goes through the loop, as the WM_CLOSE the dialog posts to itself does.
void AcquisitionDialog::PostClose(int nCode) {
    m_bEnded = true;
    std::weak_ptr<int> alive = m_pAlive;
    m_ui.Post([this, alive, nCode] {
        if (alive.lock()) m_host.Close(nCode);
    });
}

void AcquisitionDialog::OnCommand(int nId, int) {
    if (nId != IDC_CANCEL || m_bEnded) return;
    if (m_session.OpenedPort()) m_session.Stop();
    PostClose(kEndFailure);
}

int RunAcquisition(DialogFactory& dialogs, WindowHandle hOwner, UiThread& ui, WsimSession& session,
                   MessageFacility& messages, const ResourceModule& resources, const AcquisitionRequest& request,
                   std::u16string& strResult) {
    std::unique_ptr<DialogHost> pHost = dialogs.CreateDialog(hOwner);
    AcquisitionDialog dialog(*pHost, ui, session, messages, resources);
    const int nCode = dialog.Run(request);
    strResult = nCode == AcquisitionDialog::kEndSuccess ? dialog.State().strResult : std::u16string();
    return nCode;
}

}  // namespace vantrel
