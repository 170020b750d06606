#include "NmSession.h"

#include <NetworkManager.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace dlgconnect {

namespace {

// How long the loop may take, when the session ends, for the calls still out to come back and for
// the client to let go of the context.
constexpr guint kDrainLimitMs = 2000;
// NetworkManager sends an activation's new state as a property change first and its reason in a
// signal after it; a failure waits this long for the reason before it is reported without one.
constexpr guint kReasonWaitMs = 200;

// A Connect or Disconnect in flight: the caller waits on it, the loop finishes it. Shared, because
// a caller that gave up leaves it behind for the loop to drop.
struct Request {
    enum class Kind { kUp, kDown };
    explicit Request(Kind e) : eKind(e) {}

    void Finish(bool bDone, std::string strWhy) {
        std::lock_guard lock(mutex);
        if (bFinished) return;
        bFinished = true;
        outcome = {bDone, std::move(strWhy)};
        cvFinished.notify_all();
    }

    const Kind eKind;
    std::mutex mutex;
    std::condition_variable cvFinished;
    bool bFinished = false;
    Outcome outcome;
    // kUp, loop thread only: the activation waited for (a reference), and whether the wait for
    // the reason of its end has begun and is over.
    NMActiveConnection* pActive = nullptr;
    bool bReasonWait = false;
    bool bReasonWaitOver = false;
};

constexpr unsigned Bit(NMActiveConnectionState eState) { return 1u << eState; }
constexpr unsigned kUp = Bit(NM_ACTIVE_CONNECTION_STATE_ACTIVATED);
constexpr unsigned kComingUp = kUp | Bit(NM_ACTIVE_CONNECTION_STATE_ACTIVATING);
constexpr unsigned kNotDown = kComingUp | Bit(NM_ACTIVE_CONNECTION_STATE_DEACTIVATING);

std::string ErrorText(GError* pError) {
    if (!pError) return "no reason given";
    g_dbus_error_strip_remote_error(pError);
    return pError->message;
}

// NetworkManager's own name of a reason ("no-secrets", "device-disconnected", ...).
std::string ReasonText(NMActiveConnectionStateReason eReason) {
    gchar* pszNick = nm_utils_enum_to_str(NM_TYPE_ACTIVE_CONNECTION_STATE_REASON, eReason);
    std::string strText = pszNick && *pszNick ? pszNick : "reason " + std::to_string(eReason);
    g_free(pszNick);
    return strText;
}

// Everything below runs on the loop's thread, except the constructor, the destructor, AwaitReady,
// Submit and the atomics.
struct Loop {
    explicit Loop(std::string strName);
    ~Loop();

    bool AwaitReady(int nWaitMs);
    Outcome Submit(Request::Kind eKind, int nWaitMs);

    std::atomic<bool> m_bActive{false};
    std::atomic<bool> m_bOnline{false};

private:
    struct Call {
        Loop* pLoop;
        std::shared_ptr<Request> pRequest;
    };

    void Run();
    void Start();
    void Drain();
    void MarkReady();
    void Unreachable(std::string strWhy);
    bool Running() const;
    std::string WhyNotRunning() const;
    bool IsOurs(NMActiveConnection* pActive) const;
    NMActiveConnection* FindOurs(unsigned nStates) const;
    NMRemoteConnection* FindProfile() const;
    void Changed();
    void Watch();
    void Begin(const std::shared_ptr<Request>& pRequest);
    void BeginUp();
    void BeginDown();
    void Evaluate();
    void AwaitReason();
    void FinishRequest(bool bDone, std::string strWhy);

    static void OnBus(GObject* pSource, GAsyncResult* pResult, gpointer pData);
    static void OnClient(GObject* pSource, GAsyncResult* pResult, gpointer pData);
    static void OnBusClosed(GDBusConnection*, gboolean, GError*, gpointer pData);
    static void OnNotify(GObject*, GParamSpec*, gpointer pData) { static_cast<Loop*>(pData)->Changed(); }
    static void OnStateChanged(NMActiveConnection*, guint, guint, gpointer pData) {
        static_cast<Loop*>(pData)->Changed();
    }
    static void OnActivated(GObject* pSource, GAsyncResult* pResult, gpointer pData);
    static void OnDeactivated(GObject* pSource, GAsyncResult* pResult, gpointer pData);
    static void OnWatcherGone(gpointer pData, GObject*) { *static_cast<bool*>(pData) = true; }

    const std::string m_strName;
    std::string m_strAddress;
    std::string m_strUnreachable;  // why there is no client, once that is known
    GMainContext* m_pContext = g_main_context_new();
    GMainLoop* m_pMainLoop = g_main_loop_new(m_pContext, FALSE);
    GCancellable* m_pCancel = g_cancellable_new();
    GDBusConnection* m_pBus = nullptr;
    NMClient* m_pClient = nullptr;
    int m_nPending = 0;  // asynchronous calls not yet come back
    bool m_bWatcherGone = true;
    std::shared_ptr<Request> m_pRequest;

    std::mutex m_readyMutex;
    std::condition_variable m_cvReady;
    bool m_bReady = false;

    std::thread m_thread;
};

Loop::Loop(std::string strName) : m_strName(std::move(strName)) {
    // The address is read here, on the caller's thread, because it comes from the environment.
    GError* pError = nullptr;
    gchar* pszAddress = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, &pError);
    if (pszAddress && *pszAddress) m_strAddress = pszAddress;
    else m_strUnreachable = "no system bus: " + (pError ? ErrorText(pError) : std::string("its address is empty"));
    g_free(pszAddress);
    g_clear_error(&pError);

    // The program's signals are for the program's threads.
    sigset_t all, previous;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous);
    m_thread = std::thread([this] { Run(); });
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

bool Loop::AwaitReady(int nWaitMs) {
    std::unique_lock lock(m_readyMutex);
    return m_cvReady.wait_for(lock, std::chrono::milliseconds(nWaitMs), [this] { return m_bReady; });
}

Loop::~Loop() {
    g_main_context_invoke(
        m_pContext,
        [](gpointer pData) -> gboolean {
            Loop* pLoop = static_cast<Loop*>(pData);
            g_cancellable_cancel(pLoop->m_pCancel);
            if (pLoop->m_pRequest) pLoop->FinishRequest(false, "the data-line library is closing");
            g_main_loop_quit(pLoop->m_pMainLoop);
            return G_SOURCE_REMOVE;
        },
        this);
    m_thread.join();
    g_object_unref(m_pCancel);
    g_main_loop_unref(m_pMainLoop);
    g_main_context_unref(m_pContext);
}

void Loop::Run() {
    g_main_context_push_thread_default(m_pContext);
    Start();
    g_main_loop_run(m_pMainLoop);
    Drain();
    g_main_context_pop_thread_default(m_pContext);
}

// A private bus connection rather than GLib's shared one: the shared one ends the whole process
// when the bus goes away, and it would outlive this session.
void Loop::Start() {
    if (m_strAddress.empty()) return Unreachable(m_strUnreachable);
    ++m_nPending;
    g_dbus_connection_new_for_address(
        m_strAddress.c_str(),
        GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, m_pCancel, &Loop::OnBus, this);
}

void Loop::OnBus(GObject*, GAsyncResult* pResult, gpointer pData) {
    Loop* pLoop = static_cast<Loop*>(pData);
    --pLoop->m_nPending;
    GError* pError = nullptr;
    GDBusConnection* pBus = g_dbus_connection_new_for_address_finish(pResult, &pError);
    if (!pBus) {
        pLoop->Unreachable("cannot reach the system bus at " + pLoop->m_strAddress + ": " + ErrorText(pError));
        g_error_free(pError);
        return;
    }
    pLoop->m_pBus = pBus;
    if (g_cancellable_is_cancelled(pLoop->m_pCancel)) return;
    g_signal_connect(pBus, "closed", G_CALLBACK(&Loop::OnBusClosed), pLoop);
    ++pLoop->m_nPending;
    // Permissions are not needed: NetworkManager answers an unauthorised request with its reason.
    g_async_initable_new_async(NM_TYPE_CLIENT, G_PRIORITY_DEFAULT, pLoop->m_pCancel, &Loop::OnClient, pLoop,
                               NM_CLIENT_DBUS_CONNECTION, pBus, NM_CLIENT_INSTANCE_FLAGS,
                               NM_CLIENT_INSTANCE_FLAGS_NO_AUTO_FETCH_PERMISSIONS, nullptr);
}

void Loop::OnClient(GObject* pSource, GAsyncResult* pResult, gpointer pData) {
    Loop* pLoop = static_cast<Loop*>(pData);
    --pLoop->m_nPending;
    GError* pError = nullptr;
    GObject* pClient = g_async_initable_new_finish(G_ASYNC_INITABLE(pSource), pResult, &pError);
    if (!pClient) {
        pLoop->Unreachable("NetworkManager's client did not start: " + ErrorText(pError));
        g_error_free(pError);
        return;
    }
    if (g_cancellable_is_cancelled(pLoop->m_pCancel)) return g_object_unref(pClient);
    pLoop->m_pClient = NM_CLIENT(pClient);
    for (const char* pszSignal : {"notify::" NM_CLIENT_NM_RUNNING, "notify::" NM_CLIENT_STATE,
                                  "notify::" NM_CLIENT_ACTIVE_CONNECTIONS})
        g_signal_connect(pClient, pszSignal, G_CALLBACK(&Loop::OnNotify), pLoop);
    pLoop->Changed();
    pLoop->MarkReady();
}

// The client sees NetworkManager gone by itself; this only names the reason.
void Loop::OnBusClosed(GDBusConnection*, gboolean, GError*, gpointer pData) {
    static_cast<Loop*>(pData)->m_strUnreachable = "the system bus closed the connection";
}

void Loop::MarkReady() {
    std::lock_guard lock(m_readyMutex);
    m_bReady = true;
    m_cvReady.notify_all();
}

void Loop::Unreachable(std::string strWhy) {
    m_strUnreachable = std::move(strWhy);
    Changed();
    MarkReady();
}

bool Loop::Running() const {
    return m_pClient && nm_client_get_nm_running(m_pClient);
}

std::string Loop::WhyNotRunning() const {
    if (!m_strUnreachable.empty()) return m_strUnreachable;
    if (!m_pClient) return "NetworkManager has not answered yet";
    return "NetworkManager is not running";
}

bool Loop::IsOurs(NMActiveConnection* pActive) const {
    if (m_strName.empty()) return false;
    const char* pszId = nm_active_connection_get_id(pActive);
    const char* pszUuid = nm_active_connection_get_uuid(pActive);
    return (pszId && m_strName == pszId) || (pszUuid && m_strName == pszUuid);
}

// An activation of our connection in one of the states nStates (a mask of Bit(state)).
NMActiveConnection* Loop::FindOurs(unsigned nStates) const {
    if (!Running()) return nullptr;
    const GPtrArray* pList = nm_client_get_active_connections(m_pClient);
    for (guint i = 0; pList && i < pList->len; ++i) {
        auto* pActive = static_cast<NMActiveConnection*>(g_ptr_array_index(pList, i));
        if (IsOurs(pActive) && (nStates & Bit(nm_active_connection_get_state(pActive)))) return pActive;
    }
    return nullptr;
}

// The connection profile by id, else by UUID.
NMRemoteConnection* Loop::FindProfile() const {
    const GPtrArray* pList = nm_client_get_connections(m_pClient);
    NMRemoteConnection* pByUuid = nullptr;
    for (guint i = 0; pList && i < pList->len; ++i) {
        auto* pProfile = static_cast<NMRemoteConnection*>(g_ptr_array_index(pList, i));
        const char* pszId = nm_connection_get_id(NM_CONNECTION(pProfile));
        const char* pszUuid = nm_connection_get_uuid(NM_CONNECTION(pProfile));
        if (pszId && m_strName == pszId) return pProfile;
        if (pszUuid && m_strName == pszUuid) pByUuid = pProfile;
    }
    return pByUuid;
}

// Every change NetworkManager signals comes here: the two answers and the request in flight are
// brought up to date.
void Loop::Changed() {
    Watch();
    const bool bRunning = Running();
    m_bOnline = !bRunning || nm_client_get_state(m_pClient) >= NM_STATE_CONNECTED_LOCAL;
    m_bActive = FindOurs(kUp) != nullptr;
    Evaluate();
}

// Each activation's state changes on its own object, so every new one is watched.
void Loop::Watch() {
    if (!Running()) return;
    const GPtrArray* pList = nm_client_get_active_connections(m_pClient);
    for (guint i = 0; pList && i < pList->len; ++i) {
        gpointer pActive = g_ptr_array_index(pList, i);
        if (g_signal_handler_find(pActive, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, this)) continue;
        g_signal_connect(pActive, "notify::" NM_ACTIVE_CONNECTION_STATE, G_CALLBACK(&Loop::OnNotify), this);
        g_signal_connect(pActive, "state-changed", G_CALLBACK(&Loop::OnStateChanged), this);
    }
}

Outcome Loop::Submit(Request::Kind eKind, int nWaitMs) {
    auto pRequest = std::make_shared<Request>(eKind);
    g_main_context_invoke_full(
        m_pContext, G_PRIORITY_DEFAULT,
        [](gpointer pData) -> gboolean {
            Call* pCall = static_cast<Call*>(pData);
            pCall->pLoop->Begin(pCall->pRequest);
            return G_SOURCE_REMOVE;
        },
        new Call{this, pRequest}, [](gpointer pData) { delete static_cast<Call*>(pData); });
    std::unique_lock lock(pRequest->mutex);
    if (pRequest->cvFinished.wait_for(lock, std::chrono::milliseconds(nWaitMs), [&] { return pRequest->bFinished; }))
        return pRequest->outcome;
    // Left to the loop: an activation still under way may yet succeed, and a later Connect waits
    // for it instead of starting it again.
    pRequest->bFinished = true;
    const char* pszState = eKind == Request::Kind::kUp ? "activated" : "down";
    return {false, std::string("not ") + pszState + " within " + std::to_string(nWaitMs) + " ms"};
}

void Loop::Begin(const std::shared_ptr<Request>& pRequest) {
    if (m_pRequest) FinishRequest(false, "superseded");
    m_pRequest = pRequest;
    if (!Running()) return FinishRequest(false, WhyNotRunning());
    if (pRequest->eKind == Request::Kind::kUp) BeginUp();
    else BeginDown();
}

void Loop::BeginUp() {
    if (NMActiveConnection* pActive = FindOurs(kComingUp)) {
        m_pRequest->pActive = NM_ACTIVE_CONNECTION(g_object_ref(pActive));
        return Evaluate();
    }
    NMRemoteConnection* pProfile = FindProfile();
    if (!pProfile) return FinishRequest(false, "NetworkManager has no connection by that name");
    ++m_nPending;
    nm_client_activate_connection_async(m_pClient, NM_CONNECTION(pProfile), nullptr, nullptr, m_pCancel,
                                        &Loop::OnActivated, new Call{this, m_pRequest});
}

void Loop::OnActivated(GObject* pSource, GAsyncResult* pResult, gpointer pData) {
    Call* pCall = static_cast<Call*>(pData);
    Loop* pLoop = pCall->pLoop;
    --pLoop->m_nPending;
    GError* pError = nullptr;
    NMActiveConnection* pActive = nm_client_activate_connection_finish(NM_CLIENT(pSource), pResult, &pError);
    if (pCall->pRequest != pLoop->m_pRequest) {
        if (pActive) g_object_unref(pActive);
    } else if (!pActive) {
        pLoop->FinishRequest(false, "NetworkManager refused: " + ErrorText(pError));
    } else {
        pLoop->m_pRequest->pActive = pActive;
        pLoop->Changed();
    }
    g_clear_error(&pError);
    delete pCall;
}

void Loop::BeginDown() {
    std::vector<NMActiveConnection*> ours;
    const GPtrArray* pList = nm_client_get_active_connections(m_pClient);
    for (guint i = 0; pList && i < pList->len; ++i) {
        auto* pActive = static_cast<NMActiveConnection*>(g_ptr_array_index(pList, i));
        if (IsOurs(pActive) && (kComingUp & Bit(nm_active_connection_get_state(pActive)))) ours.push_back(pActive);
    }
    for (NMActiveConnection* pActive : ours) {
        ++m_nPending;
        nm_client_deactivate_connection_async(m_pClient, pActive, m_pCancel, &Loop::OnDeactivated,
                                              new Call{this, m_pRequest});
    }
    Evaluate();
}

void Loop::OnDeactivated(GObject* pSource, GAsyncResult* pResult, gpointer pData) {
    Call* pCall = static_cast<Call*>(pData);
    Loop* pLoop = pCall->pLoop;
    --pLoop->m_nPending;
    GError* pError = nullptr;
    const bool bAccepted = nm_client_deactivate_connection_finish(NM_CLIENT(pSource), pResult, &pError);
    if (pCall->pRequest == pLoop->m_pRequest) {
        if (bAccepted) pLoop->Evaluate();
        else pLoop->FinishRequest(false, "NetworkManager refused: " + ErrorText(pError));
    }
    g_clear_error(&pError);
    delete pCall;
}

void Loop::Evaluate() {
    if (!m_pRequest) return;
    bool bAbandoned;
    {
        std::lock_guard lock(m_pRequest->mutex);
        bAbandoned = m_pRequest->bFinished;
    }
    if (bAbandoned) return FinishRequest(false, {});
    if (!Running()) return FinishRequest(false, WhyNotRunning());
    if (m_pRequest->eKind == Request::Kind::kDown) {
        // Down once no activation of ours is left, not even one on its way down: the modem's port
        // is free again.
        if (!FindOurs(kNotDown)) FinishRequest(true, {});
        return;
    }
    NMActiveConnection* pActive = m_pRequest->pActive;
    if (!pActive) return;  // the activation call has not come back yet
    const NMActiveConnectionState eState = nm_active_connection_get_state(pActive);
    if (eState == NM_ACTIVE_CONNECTION_STATE_ACTIVATED) return FinishRequest(true, {});
    bool bListed = false;
    const GPtrArray* pList = nm_client_get_active_connections(m_pClient);
    for (guint i = 0; pList && i < pList->len; ++i) bListed |= g_ptr_array_index(pList, i) == pActive;
    if (eState != NM_ACTIVE_CONNECTION_STATE_DEACTIVATING && eState != NM_ACTIVE_CONNECTION_STATE_DEACTIVATED &&
        bListed)
        return;
    const NMActiveConnectionStateReason eReason = nm_active_connection_get_state_reason(pActive);
    if (eReason == NM_ACTIVE_CONNECTION_STATE_REASON_UNKNOWN && !m_pRequest->bReasonWaitOver) return AwaitReason();
    FinishRequest(false, "NetworkManager gave up: " + ReasonText(eReason));
}

void Loop::AwaitReason() {
    if (m_pRequest->bReasonWait) return;
    m_pRequest->bReasonWait = true;
    GSource* pTimer = g_timeout_source_new(kReasonWaitMs);
    g_source_set_callback(
        pTimer,
        [](gpointer pData) -> gboolean {
            Call* pCall = static_cast<Call*>(pData);
            pCall->pRequest->bReasonWaitOver = true;
            if (pCall->pRequest == pCall->pLoop->m_pRequest) pCall->pLoop->Evaluate();
            return G_SOURCE_REMOVE;
        },
        new Call{this, m_pRequest}, [](gpointer pData) { delete static_cast<Call*>(pData); });
    g_source_attach(pTimer, m_pContext);
    g_source_unref(pTimer);
}

void Loop::FinishRequest(bool bDone, std::string strWhy) {
    std::shared_ptr<Request> pRequest = std::move(m_pRequest);
    if (pRequest->pActive) g_object_unref(pRequest->pActive);
    pRequest->pActive = nullptr;
    pRequest->Finish(bDone, std::move(strWhy));
}

// The client is let go first; its busy watcher goes when its last work on this context is done.
// Calls still out come back cancelled. All bounded: a bus that never answers costs a little memory,
// never a hang.
void Loop::Drain() {
    GObject* pWatcher = nullptr;
    if (m_pClient) {
        g_signal_handlers_disconnect_by_data(m_pClient, this);
        const GPtrArray* pList = nm_client_get_active_connections(m_pClient);
        for (guint i = 0; pList && i < pList->len; ++i)
            g_signal_handlers_disconnect_by_data(g_ptr_array_index(pList, i), this);
        pWatcher = nm_client_get_context_busy_watcher(m_pClient);
        m_bWatcherGone = false;
        g_object_weak_ref(pWatcher, &Loop::OnWatcherGone, &m_bWatcherGone);
        g_clear_object(&m_pClient);
    }
    bool bTimedOut = false;
    GSource* pLimit = g_timeout_source_new(kDrainLimitMs);
    g_source_set_callback(
        pLimit, [](gpointer pData) -> gboolean { return *static_cast<bool*>(pData) = true, G_SOURCE_REMOVE; },
        &bTimedOut, nullptr);
    g_source_attach(pLimit, m_pContext);
    while ((m_nPending > 0 || !m_bWatcherGone) && !bTimedOut) g_main_context_iteration(m_pContext, TRUE);
    g_source_destroy(pLimit);
    g_source_unref(pLimit);
    if (!m_bWatcherGone) g_object_weak_unref(pWatcher, &Loop::OnWatcherGone, &m_bWatcherGone);
    if (m_pBus) {
        g_signal_handlers_disconnect_by_data(m_pBus, this);
        g_dbus_connection_close_sync(m_pBus, nullptr, nullptr);
        g_clear_object(&m_pBus);
    }
    // The connection tells of its closing from an idle source on this context, which holds the
    // connection, which holds the context: dispatched here, or both would stay for ever.
    while (g_main_context_iteration(m_pContext, FALSE)) {
    }
}

// The session the data-line library holds: the loop behind the interface.
class ClientSession final : public NmSession {
public:
    explicit ClientSession(std::string strConnection) : m_loop(std::move(strConnection)) {}

    bool AwaitReady(int nWaitMs) override { return m_loop.AwaitReady(nWaitMs); }
    bool IsActive() const override { return m_loop.m_bActive.load(std::memory_order_relaxed); }
    bool IsOnline() const override { return m_loop.m_bOnline.load(std::memory_order_relaxed); }
    Outcome Activate(int nWaitMs) override { return m_loop.Submit(Request::Kind::kUp, nWaitMs); }
    Outcome Deactivate(int nWaitMs) override { return m_loop.Submit(Request::Kind::kDown, nWaitMs); }

private:
    Loop m_loop;
};

}  // namespace

}  // namespace dlgconnect

extern "C" __attribute__((visibility("default"))) dlgconnect::NmSession* DlgConnectOpenNmSession(
    const char* pszConnection) {
    return new dlgconnect::ClientSession(pszConnection ? pszConnection : "");
}
