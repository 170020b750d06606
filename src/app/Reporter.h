#pragma once
#include <cstdint>
#include <functional>
#include <string>

#include "port/MessageBoxHost.h"

namespace vantrel {

class MessageFacility;
class ResourceModule;

// The kinds of message the workflow shows, each with its caption and style, and the progress
// records that only the message log receives.
class Reporter {
public:
    // Called with every progress record when someone follows the run (the windowless program
    // prints them); never a box.
    using ProgressEcho = std::function<void(const std::u16string& strCaption, const std::u16string& strText)>;

    Reporter(MessageFacility& messages, const ResourceModule& resources);

    std::u16string Text(std::uint32_t nId) const;

    // Errors: caption "エラー", hand icon.
    int Error(WindowHandle hOwner, std::uint32_t nTextId);
    int ErrorText(WindowHandle hOwner, const std::u16string& strText);
    // Missing input or position: caption 2501 "警告", exclamation icon.
    int Warning(WindowHandle hOwner, std::uint32_t nTextId);
    // A Yes/No question, caption 2502 "確認"; answered Yes when boxes are off.
    int Ask(WindowHandle hOwner, std::uint32_t nTextId);
    // A plain notice, caption 2502.
    int Notice(WindowHandle hOwner, const std::u16string& strText);

    // The text of string nId, caption 2502, to the message log only.
    void LogProgress(std::uint32_t nId);
    // As LogProgress for attempt i of n, followed by "(i+1/n回目)" when n is at least 2.
    void LogProgressCounted(std::uint32_t nId, int i, int n);

    void SetProgressEcho(ProgressEcho fnEcho) { m_fnEcho = std::move(fnEcho); }

private:
    void Progress(const std::u16string& strText);

    MessageFacility& m_messages;
    const ResourceModule& m_resources;
    ProgressEcho m_fnEcho;
};

}  // namespace vantrel
