#include "app/Commands.h"

#include "app/CommandLine.h"
#include "app/Services.h"
#include "location/Location.h"
#include "location/Placeholders.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

int Expand(const CommandLine& line, Services& services, std::ostream& out, std::ostream& err) {
    Location location;
    if (!location.SetFromText(line.strPosition)) {
        err << "vantrel: '" << Utf16ToUtf8(line.strPosition)
            << "' is not a position text (expected N<lat>E<lon>/<info>, e.g. N35.39.29.000E139.44.51.000/1)\n";
        return kExitUsage;
    }
    std::u16string strText;
    if (!ExpandPlaceholders(location, *services.pClock, line.arguments[0], strText)) {
        err << "vantrel: out of memory\n";
        return kExitFailed;
    }
    out << Utf16ToUtf8(strText) << '\n';
    return kExitOk;
}

}  // namespace

int RunCommand(const CommandLine& line, Services& services, std::ostream& out, std::ostream& err) {
    if (line.strCommand == u"expand") return Expand(line, services, out, err);
    err << "vantrel: '" << Utf16ToUtf8(line.strCommand) << "' is not available in this build yet\n";
    return kExitFailed;
}

}  // namespace vantrel
