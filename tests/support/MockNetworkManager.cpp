#include "support/MockNetworkManager.h"

#include <gio/gio.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace vantrel::test {

namespace {

const char kPython[] = "/usr/bin/python3";
const char kDaemon[] = "/usr/bin/dbus-daemon";
const char kTemplate[] = VANTREL_NM_MOCK_TEMPLATE;
// Looked for rather than imported: starting Python for the question alone costs half a second.
const char kStockTemplate[] = "/usr/lib/python3/dist-packages/dbusmock/templates/networkmanager.py";

// The tests' connection names and behaviours hold no quote or backslash.
std::string JsonText(const std::string& strText) { return "\"" + strText + "\""; }

}  // namespace

MockNetworkManager::MockNetworkManager(Connections connections) : m_connections(std::move(connections)) {
    const std::string strConfig = m_dir.File("bus.conf");
    WriteFileBytes(strConfig,
                   "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
                   " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                   "<busconfig>\n"
                   "  <type>system</type>\n"
                   "  <listen>unix:path=" + m_dir.File("bus") + "</listen>\n"
                   "  <auth>EXTERNAL</auth>\n"
                   "  <policy context=\"default\">\n"
                   "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
                   "    <allow eavesdrop=\"true\"/>\n"
                   "    <allow own=\"*\"/>\n"
                   "  </policy>\n"
                   "</busconfig>\n");
    m_pDaemon = std::make_unique<ChildProcess>(
        kDaemon, std::vector<std::string>{"--config-file=" + strConfig, "--nofork", "--print-address=1"},
        std::vector<std::string>{});
    m_strAddress = m_pDaemon->FirstLine(10000);
    if (m_strAddress.empty()) return;
    m_pBus = g_dbus_connection_new_for_address_sync(
        m_strAddress.c_str(),
        GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
}

MockNetworkManager::~MockNetworkManager() { StopBus(); }

bool MockNetworkManager::Available() {
    return access(kDaemon, X_OK) == 0 && access(kPython, X_OK) == 0 && access(kStockTemplate, R_OK) == 0;
}

bool MockNetworkManager::StartService() {
    if (!m_pBus) return false;
    std::string strJson = "{\"connections\": {";
    for (std::size_t i = 0; i < m_connections.size(); ++i)
        strJson += (i ? ", " : "") + JsonText(m_connections[i].first) + ": " + JsonText(m_connections[i].second);
    strJson += "}}";
    // No bytecode cache: it would land in the source tree.
    m_pService = std::make_unique<ChildProcess>(
        kPython, std::vector<std::string>{"-m", "dbusmock", "--template", kTemplate, "-p", strJson},
        std::vector<std::string>{"DBUS_SYSTEM_BUS_ADDRESS=" + m_strAddress, "PYTHONDONTWRITEBYTECODE=1",
                                 "LANG=C.UTF-8"});
    // The mock answers only once its template has loaded.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
        if (CallMock("ClearCalls", nullptr)) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

void MockNetworkManager::StopService() { m_pService.reset(); }

void MockNetworkManager::StopBus() {
    StopService();
    if (m_pBus) {
        g_dbus_connection_close_sync(m_pBus, nullptr, nullptr);
        g_clear_object(&m_pBus);
    }
    m_pDaemon.reset();
}

bool MockNetworkManager::SetState(unsigned nState) {
    return CallMock("SetGlobalConnectionState", g_variant_new("(u)", nState));
}

bool MockNetworkManager::Drop(const std::string& strId, unsigned nReason) {
    return CallMock("Drop", g_variant_new("(su)", strId.c_str(), nReason));
}

std::string MockNetworkManager::ActiveIds() {
    auto Get = [this](const char* pszPath, const char* pszInterface, const char* pszName) -> GVariant* {
        GVariant* pReply = m_pBus ? g_dbus_connection_call_sync(
                                        m_pBus, "org.freedesktop.NetworkManager", pszPath,
                                        "org.freedesktop.DBus.Properties", "Get",
                                        g_variant_new("(ss)", pszInterface, pszName), G_VARIANT_TYPE("(v)"),
                                        G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr)
                                  : nullptr;
        if (!pReply) return nullptr;
        GVariant* pValue = nullptr;
        g_variant_get(pReply, "(v)", &pValue);
        g_variant_unref(pReply);
        return pValue;
    };
    std::string strIds;
    GVariant* pPaths = Get("/org/freedesktop/NetworkManager", "org.freedesktop.NetworkManager", "ActiveConnections");
    if (!pPaths) return "(no answer)";
    GVariantIter iter;
    g_variant_iter_init(&iter, pPaths);
    const gchar* pszPath = nullptr;
    while (g_variant_iter_next(&iter, "&o", &pszPath)) {
        GVariant* pId = Get(pszPath, "org.freedesktop.NetworkManager.Connection.Active", "Id");
        strIds += (strIds.empty() ? "" : ",") + std::string(pId ? g_variant_get_string(pId, nullptr) : "?");
        if (pId) g_variant_unref(pId);
    }
    g_variant_unref(pPaths);
    return strIds;
}

bool MockNetworkManager::CallMock(const char* pszMethod, GVariant* pParams) {
    if (!m_pBus) {
        if (pParams) g_variant_unref(g_variant_ref_sink(pParams));
        return false;
    }
    GError* pError = nullptr;
    GVariant* pReply = g_dbus_connection_call_sync(m_pBus, "org.freedesktop.NetworkManager",
                                                   "/org/freedesktop/NetworkManager", "org.freedesktop.DBus.Mock",
                                                   pszMethod, pParams, nullptr, G_DBUS_CALL_FLAGS_NONE, 5000,
                                                   nullptr, &pError);
    if (pReply) g_variant_unref(pReply);
    g_clear_error(&pError);
    return pReply != nullptr;
}

}  // namespace vantrel::test
