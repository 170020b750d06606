#include "app/PlatformServices.h"

#include "app/CommandLine.h"
#include "app/LazyHttpTransport.h"
#include "app/MainForm.h"
#include "port/Clock.h"
#include "port/Factories.h"
#include "port/FileDialogs.h"
#include "port/FileSystem.h"
#include "port/HttpTransport.h"
#include "port/Interrupts.h"
#include "port/LibraryLoader.h"
#include "port/ProcessLauncher.h"
#include "port/PseudoTerminal.h"
#include "port/SerialDevice.h"
#include "port/Sockets.h"
#include "port/SystemInfo.h"
#include "port/TextCodec.h"
#include "port/ThreadPriority.h"
#include "port/WindowFinder.h"
#include "port/WindowModule.h"
#include "settings/ProgramFolder.h"
#include "settings/ResourceModule.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

// The code page must be in place before anything converts text, so it is made first.
std::unique_ptr<TextCodec> InstallCodec() {
    std::unique_ptr<TextCodec> pCodec = CreateAnsiCodec();
    SetAnsiCodePage(pCodec.get());
    return pCodec;
}

}  // namespace

PlatformServices::PlatformServices(const CommandLine& line, TextOut& messageSink)
    : pClock(CreateSystemClock()),
      pFiles(CreateFileSystem()),
      pSystem(CreateSystemInfo()),
      pLibraries(CreateLibraryLoader(*pSystem)),
      pCodec(InstallCodec()),
      consoleBoxes(messageSink),
      boxes(consoleBoxes),
      messages(*pClock, *pFiles, boxes, ResourceModule::Program()),
      strProgramFolder(ProgramFolder(*pSystem, *pFiles)),
      pPriority(CreateThreadPriority()),
      resolver(line.strPort, *pSystem),
      serial{*pClock, messages, *pPriority, [] { return CreateSerialDevice(); }, &resolver},
      pHttp(std::make_unique<LazyHttpTransport>(*pLibraries, strProgramFolder, *pCodec, messageSink)),
      pSockets(CreateSockets()),
      pLauncher(CreateProcessLauncher()),
      pWindows(CreateWindowFinder()),
      windowModule(*pLibraries),
      clipboard(windowModule, messageSink),
      platformFileDialogs(noFileDialogs),
      pFileDialogs(CreateFileDialogs(*pLibraries, platformFileDialogs)),
      pInterrupts(CreateInterrupts()),
      ui(*pClock),
      dialogs(ui) {}

PlatformServices::~PlatformServices() {
    pInterrupts.reset();
    if (pModule) pModule->Stop();
    SetAnsiCodePage(nullptr);
}

bool PlatformServices::StartSimulatedModule() {
    if (!resolver.IsSimulated()) return true;
    pModule = std::make_unique<EmulatedModule>(CreatePseudoTerminal());
    if (!pModule->Start()) return false;
    resolver.SetSimulatedDevice(Utf8ToUtf16(pModule->DevicePath()));
    return true;
}

void PlatformServices::AttachWindow(WindowModule& module) {
    m_pUi = &module.Ui();
    m_pDialogs = &module.Dialogs();
    boxes.SetTarget(module.MessageBoxes());
    platformFileDialogs.SetTarget(module.SystemFileDialogs());
}

FormServices PlatformServices::MakeFormServices() {
    FormServices services{*pClock,  *pFiles,     messages,  ResourceModule::Program(), *m_pUi,     *m_pDialogs,
                          serial,   *pHttp,      *pSockets, *pLauncher,                *pWindows,  clipboard,
                          *pLibraries, *pFileDialogs, strProgramFolder};
    // A silent mail server is noticed only after 1000 s, a silent HTTP peer after 30 s; a run against
    // one can ask for less.
    services.nMailReplyWaitMs = LimitFromEnvironment("VANTREL_MAIL_WAIT_MS", services.nMailReplyWaitMs);
    services.nHttpLimitMs = LimitFromEnvironment("VANTREL_HTTP_LIMIT_MS", services.nHttpLimitMs);
    return services;
}

std::uint32_t PlatformServices::LimitFromEnvironment(const char* pszName, std::uint32_t nDefault) const {
    std::u16string strValue;
    if (!pSystem->GetEnv(pszName, strValue) || WtoL(strValue) <= 0) return nDefault;
    return static_cast<std::uint32_t>(WtoL(strValue));
}

}  // namespace vantrel
