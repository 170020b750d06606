#pragma once
#include <memory>

namespace vantrel {

class Clock;
class FileSystem;
class SystemInfo;
class TextCodec;

// The platform's implementations of the basic seams, defined by the platform library that CMake
// selects (src/platform/posix on Linux). Only the composition root calls these.
std::unique_ptr<Clock> CreateSystemClock();
std::unique_ptr<FileSystem> CreateFileSystem();
std::unique_ptr<SystemInfo> CreateSystemInfo();
// The stand-in for the device's ANSI code page (CP932 unless VANTREL_CODEPAGE names another).
std::unique_ptr<TextCodec> CreateAnsiCodec();

}  // namespace vantrel
