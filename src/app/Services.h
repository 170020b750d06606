#pragma once
#include <iostream>
#include <memory>

#include "deliver/MessageFacility.h"
#include "platform/headless/ConsoleMessageBox.h"
#include "port/Clock.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "port/SystemInfo.h"
#include "port/TextCodec.h"
#include "settings/ResourceModule.h"

namespace vantrel {

// The platform's services for one run of the program, created once by the composition root and
// handed to everything that needs them.
struct Services {
    Services()
        : pClock(CreateSystemClock()),
          pFiles(CreateFileSystem()),
          pSystem(CreateSystemInfo()),
          pCodec(CreateAnsiCodec()),
          consoleBoxes(std::cerr),
          messages(*pClock, *pFiles, consoleBoxes, ResourceModule::Program()) {
        SetAnsiCodePage(pCodec.get());
    }
    ~Services() { SetAnsiCodePage(nullptr); }
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;

    std::unique_ptr<Clock> pClock;
    std::unique_ptr<FileSystem> pFiles;
    std::unique_ptr<SystemInfo> pSystem;
    std::unique_ptr<TextCodec> pCodec;
    ConsoleMessageBox consoleBoxes;
    MessageFacility messages;
};

}  // namespace vantrel
