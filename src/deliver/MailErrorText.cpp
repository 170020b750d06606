#include "deliver/MailErrorText.h"

#include "deliver/MailEncoding.h"
#include "deliver/MailResult.h"
#include "resource.h"
#include "settings/DualString.h"
#include "settings/Format.h"
#include "settings/ResourceModule.h"

namespace vantrel {

namespace {

std::uint32_t BaseMessageId(int nError) {
    switch (nError) {
        case mailerr::kStartup: return IDS_MAIL_WINSOCK_INIT;
        case mailerr::kVersion: return IDS_MAIL_WINSOCK_VERSION;
        case mailerr::kEmptyHost: return IDS_MAIL_HOST_EMPTY;
        case mailerr::kResolve: return IDS_MAIL_RESOLVE;
        case mailerr::kSend: return IDS_MAIL_SEND;
        case mailerr::kReceive: return IDS_MAIL_RECEIVE;
        case mailerr::kServerError: return IDS_MAIL_SERVER_ERROR;
        case mailerr::kConnect: return IDS_MAIL_CONNECT;
        default: return IDS_MAIL_SYSTEM;
    }
}

// A POP3 "-ERR" (status -1) is shown as "+ERR", the text this message has always carried; SMTP
// statuses show as their numbers.
std::u16string StatusText(std::int32_t nStatus) {
    if (nStatus == 1) return u"+OK";
    if (nStatus == -1) return u"+ERR";
    return FormatText(u"%d", nStatus);
}

std::u16string Detail(const MailResult& r) {
    const std::u16string strLine = FromMultiByte(r.m_strReply);
    switch (r.m_nError) {
        case mailerr::kVersion:
        case mailerr::kEmptyHost: return std::u16string();
        case mailerr::kSend: return FormatText(u"(%d)\n%s", r.m_nLastError, r.m_strLastStep);
        case mailerr::kReceive: return FormatText(u"(%d)\n%s\n%s", r.m_nLastError, r.m_strLastStep, strLine);
        case mailerr::kServerError:
            return FormatText(u"(%d)[%s]\n%s\n%s", r.m_nLastError, StatusText(r.m_nStatus), r.m_strLastStep, strLine);
        default: return FormatText(u"(%d)", r.m_nLastError);
    }
}

}  // namespace

std::u16string ComposeMailErrorText(const MailResult& result, const ResourceModule& resources) {
    if (result.m_nError == mailerr::kNone) return std::u16string();
    DualString strBase;
    strBase.LoadStringResource(resources, BaseMessageId(result.m_nError));
    return strBase.Wide() + Detail(result);
}

std::u16string ComposeMailDebugTrace(const MailResult& result) {
    if (result.m_nError == mailerr::kNone) return std::u16string();
    std::u16string strTrace =
        FormatText(u"[Debug]: SendMail Error: %d, LastError :%d\r\n", result.m_nError, result.m_nLastError);
    strTrace += FormatText(u"[Debug]: SendMail LastStep: %s\r\n", result.m_strLastStep);
    strTrace += FormatText(u"[Debug]: SendMail Response: %s\r\n", result.m_strReplyLog);
    if (result.m_nError == mailerr::kReceive)
        strTrace += FormatText(u"[Debug]: recv string: %s\r\n", FromMultiByte(result.m_strReply));
    return strTrace;
}

}  // namespace vantrel
