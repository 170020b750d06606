#pragma once
#include <string>

namespace vantrel {

class ResourceModule;
struct MailResult;

// The user's message for a failed mail operation: the base message of the error code from the
// string table followed directly by its detail (error number, step, received line, status).
// Empty for code 0.
std::u16string ComposeMailErrorText(const MailResult& result, const ResourceModule& resources);

// The developer's trace of the same failure (error, last error, step, response; the received
// line for a receive error). Composed for a debugger's eyes only: it is neither shown nor logged.
std::u16string ComposeMailDebugTrace(const MailResult& result);

}  // namespace vantrel
