#include "ui/main_actions.h"

#include <array>

namespace velmora::ui {
namespace {

using enum Behaviour;
using enum MenuName;

constexpr MainAction kActions[] = {
    {"BLoad", "Load file", "UFileLoad", "Load ...", File, Load},
    {"BSaveAs", "Save selection to file", "UFileSave", "Save As ...", File, SaveAs},
    {"", "", "UFileLoadPreferences", "Load Preferences...", File, LoadPreferences},
    {"", "", "UFileSavePreferences", "Save Preferences...", File, SavePreferences},
    {"", "", "UFilePrint", "Print Selection", File, Print},

    {"BCopy", "Copy selection to clipboard", "UEditCopy", "Copy", Edit, Command, "_copy"},
    {"BCut", "Cut selection", "UEditCut", "Cut selection", Edit, Command, "_cut"},
    {"BPaste", "Paste into selection", "UEditPaste", "Paste", Edit, Paste},
    {"", "", "UEditSelectRange", "Add Selection ...", Edit, SelectRange},
    {"", "", "UEditClearSelection", "Clear all Selections", Edit, Command, "_clearselections"},
    {"", "", "UEditFill", "Fill", Edit, Fill},
    {"", "", "UEditUnread", "Unread", Edit, Command, "_clearmemory"},
    {"BSelectWindow", "Select actual display", "", "", Edit, SelectWindow},

    {"BConnect", "Connect target", "UTargetConnect", "Connect", Target, Command, "_connect"},
    {"BUnconnect", "Disconnect", "UTargetDisconnect", "Disconnect", Target, Command, "_disconnect"},
    {"BReconnect", "Reconnect", "UTargetReconnect", "Reconnect", Target, Command, "_reconnect"},
    {"BASC02ASC1", "ASC02ASC1", "UTargetASC02ASC1", "ASC02ASC1", Target, ChannelSwitch},
    {"", "", "UTargetRelocate", "Relocate Monitor", Target, Relocate},
    {"BDownload", "Download selection to target", "UTargetDownload", "Download Selection", Target,
     Command, "_download"},
    {"BUpload", "Upload target memory into selection", "UTargetUpload", "Upload Selection", Target,
     Command, "_upload"},
    {"BCompare", "Compare selection with target memory", "UTargetCompare", "Compare Selection",
     Target, Command, "_compare"},
    {"", "", "UDisplayResetConfig", "Display Reset Configuration", Target, ResetConfig},
    {"BDebug", "Disassemble / Debug", "UTargetDisassemble", "Disassemble / Debug", Target,
     Debug},
    {"BConfigure", "Configure Hardware", "UTargetConfiguration", "Configuration ...", Target,
     Configure},

    {"", "", "UInterfaceSettings", "Settings...", Interface, PortSettings},
    {"", "", "UTerminalSettings", "Terminal Settings...", Interface, TerminalSettings},

    {"", "", "UScriptExecute", "Execute...", Script, ExecuteScript},
    {"", "", "UScriptSelectUserScript", "Assign User Script...", Script, AssignUserScript},
    {"", "", "UScriptRemoveUserScript", "Remove User Script...", Script, RemoveUserScript},

    {"", "", "UHelpIndex", "Contents", Help, HelpContents},
    {"", "", "UHelpAbout", "About", Help, About},
};

}  // namespace

std::span<const MainAction> MainActions() {
  return kActions;
}

bool StartsOperation(Behaviour behaviour) {
  return behaviour != HelpContents && behaviour != About && behaviour != NotAvailable;
}

std::string_view MenuTitle(MenuName menu) {
  constexpr std::array<std::string_view, 6> kTitles = {"&File",      "&Edit",   "&Target",
                                                       "&Interface", "&Script", "&Help"};
  return kTitles[static_cast<size_t>(menu)];
}

std::string_view MenuObjectName(MenuName menu) {
  constexpr std::array<std::string_view, 6> kNames = {"File",      "Edit",   "Target",
                                                      "Interface", "Script", "Help"};
  return kNames[static_cast<size_t>(menu)];
}

}  // namespace velmora::ui
