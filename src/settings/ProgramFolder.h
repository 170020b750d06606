#pragma once
#include <string>

namespace vantrel {

class FileSystem;
class SystemInfo;

// The folder that holds default.ini, cache.txt and cookies.txt, without a trailing separator:
// VANTREL_HOME when set; else the executable's folder when it already holds default.ini or may be
// written to; else $XDG_CONFIG_HOME/vantrel (~/.config/vantrel), created when missing. An
// installed program's folder is usually read-only, which is why the per-user folder exists.
std::u16string ProgramFolder(SystemInfo& system, FileSystem& fileSystem);

}  // namespace vantrel
