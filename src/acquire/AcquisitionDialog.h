#pragma once
#include <memory>
#include <string>
#include <vector>

#include "port/MessageBoxHost.h"

namespace vantrel {

class DialogFactory;
class DialogHost;
class MessageFacility;
class ResourceModule;
class UiThread;
class WsimSession;

// What one acquisition asks for: the mode (mode::kCsId or mode::kSimple), the readings wanted
// (EPGETCNT) and the retries allowed for a failed reading.
struct AcquisitionRequest {
    int nMode = 0;
    int nWantedCount = 1;
    int nRetryLimit = 3;
};

// The acquisition's counters, reset when the dialog opens.
struct AcquisitionState {
    struct TallyEntry {
        std::u16string strText;
        int nHits = 0;
    };
    int nRetries = 0;
    int nAcquired = 0;
    std::u16string strResult;
    std::vector<TallyEntry> tally;  // in order of first sight
};

// The progress dialog of one acquisition (template 130): starts the AT conversation, follows it
// on every completion, repeats and retries simple-coordinate readings, and ends with 1 (a result)
// or 2 (failed or cancelled). Written against the dialog-host and UI-thread seams only.
class AcquisitionDialog {
public:
    static constexpr int kEndSuccess = 1;
    static constexpr int kEndFailure = 2;

    AcquisitionDialog(DialogHost& host, UiThread& ui, WsimSession& session, MessageFacility& messages,
                      const ResourceModule& resources);
    ~AcquisitionDialog();

    // Builds the controls, opens the conversation and runs the dialog modally; the end code.
    int Run(const AcquisitionRequest& request);
    const AcquisitionState& State() const { return m_state; }

    // The dialog's handlers, for a backend that delivers them itself.
    void OnInitDialog();
    void OnCompletion();
    void OnCommand(int nId, int nNotify);

private:
    bool Dispatch();
    bool AfterLbc2();
    bool NextReading();
    bool ChooseFromTally(const std::u16string& strReading);
    void ShowProgress(const std::u16string& strLine);
    void Succeed();
    void Fail(std::uint32_t nMessageId);
    void PostClose(int nCode);
    std::u16string LoadText(std::uint32_t nId) const;
    bool IsSimple() const { return m_request.nMode != 0; }

    DialogHost& m_host;
    UiThread& m_ui;
    WsimSession& m_session;
    MessageFacility& m_messages;
    const ResourceModule& m_resources;
    AcquisitionRequest m_request;
    AcquisitionState m_state;
    std::u16string m_strQueryAnswer;  // the "AT@LBC?" answer, parsed once "AT@LBC2" is answered
    bool m_bEnded = false;
    // Closures posted to the UI thread check this, so that a completion arriving after the dialog
    // is gone is dropped (as a message posted to a destroyed window is).
    std::shared_ptr<int> m_pAlive = std::make_shared<int>(0);
};

// Shows the acquisition dialog modally over hOwner; 1 with strResult set (the CS-ID text or the
// combined position text), 2 when it failed or was cancelled.
int RunAcquisition(DialogFactory& dialogs, WindowHandle hOwner, UiThread& ui, WsimSession& session,
                   MessageFacility& messages, const ResourceModule& resources, const AcquisitionRequest& request,
                   std::u16string& strResult);

}  // namespace vantrel
