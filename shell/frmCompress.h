// frmCompress: compaction of the suite's databases where they lie. The user picks a drive and a
// folder, selects databases in a copy of the file list, and compresses them; a status list reports
// each file. Modal.
#pragma once

#include "shell/form.h"

namespace qx::forms {

class FrmCompress final : public Form {
  public:
    explicit FrmCompress(FormContext context);

    DriveListBox& dirDrive = make<DriveListBox>("dirDrive");
    DirListBox& dirPath = make<DirListBox>("dirPath");
    // The folder shown by dirPath.
    Label& lblPath = make<Label>("lblPath");
    // The source of names and paths; kept hidden, lstdatabases is what the user selects in.
    FileListBox& filDatabases = make<FileListBox>("filDatabases");
    ListBox& lstdatabases = make<ListBox>("lstdatabases");
    CheckBox& ckbselectall = make<CheckBox>("ckbselectall");
    Label& lblworking = make<Label>("lblworking");
    // Databases done in the present run (a fraction for the one being compacted).
    ProgressBar& pbrWorking = make<ProgressBar>("pbrWorking");
    ListBox& lststatus = make<ListBox>("lststatus");
    CommandButton& cmdCompress = make<CommandButton>("cmdCompress");
    CommandButton& cmdDefault = make<CommandButton>("cmdDefault");
    CommandButton& cmdClose = make<CommandButton>("cmdClose");
};

}  // namespace qx::forms
