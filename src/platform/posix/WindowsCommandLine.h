#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

// Splits the argument part of a Windows command line (everything after the program name) the way
// CommandLineToArgvW does, so that a program started here receives the arguments a Windows program
// would have received from the same parameter string:
// - blanks and tabs outside quotes separate arguments;
// - 2n backslashes before a quote give n backslashes and the quote opens or closes quoting;
// - 2n+1 backslashes before a quote give n backslashes and a literal quote;
// - backslashes not before a quote are literal;
// - in a run of quotes, every third quote counted from an opening one is a literal quote.
std::vector<std::u16string> SplitWindowsArguments(std::u16string_view strLine);

}  // namespace vantrel
