#include "diagnostics/checks.h"

#include <optional>

#include "common/modmaster.h"
#include "common/trap.h"
#include "common/vb.h"
#include "diagnostics/texts.h"
#include "platform/errors.h"
#include "shell/frmMain.h"

namespace qx::diagnostics {

namespace {

// The read/write check always uses the same file number; a number left open by a failed run is
// what makes every later run fail until the program restarts.
constexpr int kMarkerFileNumber = 1;

void markFailed(forms::CheckBox& box) {
    box.setValue(0);
    box.setCaption(std::string(text::kFailed));
}

void markPassed(forms::CheckBox& box) {
    box.setValue(1);
    box.setCaption(std::string(text::kPassed));
}

void tellUser(forms::Program& p, std::string_view message) {
    p.rt.os.messages.show(p.rt.g.toolTitle, message, platform::Buttons::OK, platform::Icon::None);
}

}  // namespace

std::string StripRSlash(Runtime& rt, std::string& dataPath) {
    enterProcedure(rt.g, text::kStripProcedureName);
    dataPath = vb::Trim(dataPath);
    if (vb::Len(dataPath) >= 1 && vb::Right(dataPath, 1) == "\\") {
        dataPath = vb::Left(dataPath, vb::Len(dataPath) - 1);
    }
    return dataPath;
}

void CheckFilePresent(forms::Program& p, const std::string& filePath, forms::CheckBox& resultBox,
                      std::string& directory, std::int16_t emptyDirFlag, forms::Label& errorLabel) {
    forms::FrmMain& f = p.frmMain;
    resultBox.setCaption("");
    f.DIRKEL.setPath(StripRSlash(p.rt, directory));
    f.FILSource.setPattern(std::string(text::kPatternPrefix) + SplitAt(filePath, "Right", "."));

    if (directory.empty() && emptyDirFlag != 0) {
        errorLabel.setCaption(std::string(text::kFileDoesNotExist));
        markFailed(resultBox);
        return;
    }
    if (p.rt.os.fs.dir(filePath, platform::attr::kNormal).empty()) {
        // Only the empty-folder case above explains itself in the label; a plain miss leaves the
        // label as the last run (or Clear All) left it.
        markFailed(resultBox);
        return;
    }
    markPassed(resultBox);
}

void CheckDirPresent(forms::Program& p, std::string& directory, forms::CheckBox& resultBox) {
    forms::FrmMain& f = p.frmMain;
    std::optional<RuntimeError> pending;
    try {
        f.DIRKEL.setPath(StripRSlash(p.rt, directory));
        f.FILSource.setPattern(std::string(text::kAllFiles));
        if (directory.empty()) {
            tellUser(p, text::kDirectoryDoesNotExist);
            markFailed(resultBox);
            return;
        }
        if (f.DIRKEL.dirPath() == directory) {
            // Only the tick: a box that failed before keeps its "Failed" caption.
            resultBox.setValue(1);
            return;
        }
        // A folder that exists but reads back differently (a drive root, another case) drops into
        // the handler below with no error pending.
    } catch (const RuntimeError& e) {
        pending = e;
    }

    const std::int32_t number = pending ? pending->number() : 0;
    if (number == err::kPathNotFound) {
        tellUser(p, text::kDirectoryDoesNotExist);
    } else if (number == err::kDeviceUnavailable) {
        tellUser(p, text::kDirectoryUnavailable);
    } else {
        // The report's answer is kept but deliberately not acted on: no retry, no resume.
        const vb::Integer action = pending ? ErrorReport(p.rt, *pending) : ErrorReport(p.rt, vb::Integer{0});
        p.rt.g.lastDirCheckAction = static_cast<float>(action);
        tellUser(p, text::kDirectoryUnavailable);
    }
    markFailed(resultBox);
}

void CheckReadWrite(forms::Program& p, forms::CheckBox& resultBox, std::string directory) {
    forms::FrmMain& f = p.frmMain;
    platform::FileSystem& fs = p.rt.os.fs;
    try {
        resultBox.setCaption("");
        const std::string marker = CkRSlash(p.rt, directory) + std::string(text::kMarkerFileName);
        fs.openForOutput(kMarkerFileNumber, marker);
        fs.printLine(kMarkerFileNumber, text::kMarkerLine);
        fs.close(kMarkerFileNumber);

        f.DIRKEL.setPath(CkRSlash(p.rt, directory));
        f.FILSource.setPattern(std::string(text::kMarkerFileName));
        if (f.FILSource.listCount() == 0) {
            f.lblReadWriteError.setCaption(std::string(text::kUnableToAccessFile));
            markFailed(resultBox);
            return;
        }

        // Being able to read the file back is the proof; what was read is not compared.
        fs.openForInput(kMarkerFileNumber, marker);
        [[maybe_unused]] const std::string firstField = fs.inputField(kMarkerFileNumber);
        fs.close(kMarkerFileNumber);

        f.lblReadWriteError.setCaption(std::string(text::kReadWriteAllowed));
        markPassed(resultBox);
    } catch (const RuntimeError& e) {
        // File number 1 is left as the error found it (possibly open).
        f.lblReadWriteError.setCaption(
            std::string(e.number() == err::kPathNotFound ? text::kPathNotFound : text::kAccessDenied));
        markFailed(resultBox);
    }
}

void DIRKEL_Change(forms::Program& p) {
    p.frmMain.FILSource.setPath(p.frmMain.DIRKEL.dirPath());
}

}  // namespace qx::diagnostics
