#pragma once
#include <string>

namespace vantrel {

class Clock;
class Location;

// Expands the "$" placeholders of a user template from the position and one reading of the local
// clock, appending to strOutput (which is not cleared). "$$" is a literal dollar, a trailing "$"
// vanishes and an unknown placeholder loses its "$". False only when no working copy of the
// template could be made; strOutput is then unchanged.
bool ExpandPlaceholders(const Location& location, Clock& clock, const std::u16string& strTemplate,
                        std::u16string& strOutput);

}  // namespace vantrel
