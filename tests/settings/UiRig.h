#pragma once
#include <memory>

#include "deliver/MessageFacility.h"
#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"
#include "port/Factories.h"
#include "port/FileSystem.h"
#include "resource.h"
#include "settings/ResourceModule.h"
#include "settings/Settings.h"
#include "settings/SettingsProfile.h"
#include "settings/SettingsUi.h"
#include "support/ManualClock.h"
#include "support/RecordingMessageBox.h"
#include "support/ScriptedFileDialogs.h"
#include "support/TempDir.h"

namespace vantrel::test {

// The settings dialogs on in-memory hosts over the real file system, with recorded message boxes
// and scripted file dialogs.
struct UiRig {
    TempDir m_dir;
    ManualClock m_clock;
    HeadlessUiThread m_ui{m_clock};
    MemoryDialogFactory m_dialogs{m_ui};
    std::unique_ptr<FileSystem> m_pFiles = CreateFileSystem();
    RecordingMessageBox m_boxes;
    MessageFacility m_messages{m_clock, *m_pFiles, m_boxes, ResourceModule::Program()};
    ScriptedFileDialogs m_fileDialogs;
    SettingsUiServices m_services{m_dialogs, *m_pFiles, m_fileDialogs, m_messages, ResourceModule::Program()};
    SettingsProfile m_profile = LinuxSettingsProfile(m_dir.WidePath());
    Settings m_settings{m_profile, *m_pFiles};
};

}  // namespace vantrel::test
