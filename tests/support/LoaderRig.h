#pragma once
#include <memory>

#include "deliver/MessageFacility.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "port/LibraryLoader.h"
#include "port/SystemInfo.h"
#include "settings/ResourceModule.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageBox.h"

namespace vantrel::test {

// The real library loader with a message facility on a manual clock, its boxes recorded.
struct LoaderRig {
    ManualClock m_clock;
    std::unique_ptr<FileSystem> m_pFiles = CreateFileSystem();
    std::unique_ptr<SystemInfo> m_pSystemInfo = CreateSystemInfo();
    std::unique_ptr<LibraryLoader> m_pLoader = CreateLibraryLoader(*m_pSystemInfo);
    RecordingMessageBox m_boxes;
    MessageFacility m_messages{m_clock, *m_pFiles, m_boxes, ResourceModule::Program()};
};

}  // namespace vantrel::test
