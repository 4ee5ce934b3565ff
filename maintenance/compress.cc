#include "maintenance/compress.h"

#include <optional>

#include "common/modmaster.h"
#include "common/trap.h"
#include "common/vb.h"
#include "maintenance/engine.h"
#include "maintenance/texts.h"
#include "platform/errors.h"
#include "shell/frmCompress.h"

namespace qx::maintenance {

namespace {

// VB's Dir(path) <> "": the file is there by a directory lookup (an empty file counts).
bool fileFound(Runtime& rt, std::string_view path) {
    return !rt.os.fs.dir(path, platform::attr::kNormal).empty();
}

// Points the lists at `directory` when `probe` lies in it; otherwise they stay as they are.
void openOn(forms::Program& p, const std::string& directory, std::string_view probe) {
    forms::FrmCompress& f = p.frmCompress;
    if (!fileFound(p.rt, directory + std::string(probe))) return;
    f.filDatabases.setPattern(std::string(text::kDatabasePattern));
    f.filDatabases.setPath(directory);
    f.dirPath.setPath(directory);
}

enum class Outcome { Done, Skipped, InUse, Leave };

// One step of the run under the form's error trap (see compress.h). 3356 ends the program here.
class RunTrap {
  public:
    explicit RunTrap(forms::Program& p) : p_(p) {}

    template <class Step>
    Outcome run(Step&& step) {
        int retries = 0;
        for (;;) {
            try {
                // The shared routines a step calls name themselves; a report names the run.
                enterProcedure(p_.rt.g, text::kCompressProcedure);
                step();
                return Outcome::Done;
            } catch (const RuntimeError& e) {
                if (e.number() == 3356) {
                    p_.rt.os.messages.show(p_.rt.g.toolTitle, text::kOpenLocked, platform::Buttons::OK,
                                           platform::Icon::None);
                    p_.rt.os.process.end();
                }
                if (e.number() == 3045) return Outcome::InUse;
                switch (ErrorReport(p_.rt, e)) {
                    case 0:
                        if (++retries > Trap::kMaxRetries) throw;
                        continue;
                    case 1:
                        return Outcome::Skipped;
                    case 2:
                        return Outcome::Leave;
                    default:
                        throw;
                }
            }
        }
    }

  private:
    forms::Program& p_;
};

void addStatus(forms::Program& p, std::string line) {
    p.frmCompress.lststatus.addItem(std::move(line));
    p.frmCompress.lststatus.refresh();
    p.screen.doEvents();
}

std::string baseAndExtension(Runtime& rt, std::string_view path) {
    std::string drive, dir, name, ext;
    ParseFileName(rt, path, drive, dir, name, ext);
    return name + "." + ext;
}

// The steps for one selected line. Leave ends the run; anything else goes on with the next line.
Outcome compressOne(forms::Program& p, RunTrap& trap, const std::string& directory, int line,
                    float progressBase) {
    forms::FrmCompress& f = p.frmCompress;
    Runtime& rt = p.rt;
    const std::string path = directory + f.filDatabases.list(line);

    bool found = false;
    Outcome o = trap.run([&] { found = fileFound(rt, path); });
    if (o == Outcome::Leave) return o;
    if (!found) return Outcome::Done;

    // Held from here until the copy back is done: nobody can open the database and write what the
    // compacted copy would not hold.
    std::optional<CompactionSource> source;
    o = trap.run([&] { source.emplace(CompactionSource::open(rt, path)); });
    if (o == Outcome::Leave) return o;
    if (o == Outcome::InUse) {
        addStatus(p, baseAndExtension(rt, path) + ": " + std::string(text::kInUse));
        return Outcome::InUse;
    }

    const std::string scratch = directory + std::string(text::kScratchName);
    std::string prompt;
    // A scratch file left by an earlier run that stopped is only ever a spare copy.
    if (trap.run([&] {
            if (fileFound(rt, scratch)) DelPict(rt, scratch, true, prompt);
        }) == Outcome::Leave)
        return Outcome::Leave;

    std::int64_t before = 0, after = 0;
    if (trap.run([&] { before = rt.os.fs.fileLen(path); }) == Outcome::Leave) return Outcome::Leave;

    bool compacted = false;
    o = trap.run([&] {
        if (!source) return;
        source->compactTo(scratch, [&](double share) {
            f.pbrWorking.setValue(progressBase + static_cast<float>(share));
            p.screen.doEvents();
        });
        compacted = true;
    });
    if (o == Outcome::Leave) return o;

    // Only a copy this run made goes over the database; copyFile puts it there whole or not at all.
    if (trap.run([&] {
            if (compacted) rt.os.fs.copyFile(scratch, path);
        }) == Outcome::Leave)
        return Outcome::Leave;
    source.reset();

    if (trap.run([&] { after = rt.os.fs.fileLen(path); }) == Outcome::Leave) return Outcome::Leave;
    if (trap.run([&] { DelPict(rt, scratch, true, prompt); }) == Outcome::Leave) return Outcome::Leave;
    if (trap.run([&] {
            f.lstdatabases.setSelected(line, false);
            f.lstdatabases.refresh();
        }) == Outcome::Leave)
        return Outcome::Leave;
    if (trap.run([&] {
            addStatus(p, statusLine(rt, path, static_cast<double>(before), static_cast<double>(after)));
        }) == Outcome::Leave)
        return Outcome::Leave;
    return Outcome::Done;
}

}  // namespace

std::string statusLine(Runtime& rt, std::string_view path, double sizeBefore, double sizeAfter) {
    std::string result;
    if (sizeBefore == sizeAfter) {
        result = std::string(text::kNoChange);
    } else {
        if (sizeBefore == 0) raise(err::kDivisionByZero);
        result =
            std::string(text::kCompressed) + vb::Format((1 - sizeAfter / sizeBefore) * 100, "###.#") + "%";
    }
    return baseAndExtension(rt, path) + ": " + result;
}

void frmCompress_Load(forms::Program& p) {
    Globals& g = p.rt.g;
    p.frmCompress.lststatus.clear();
    if (g.compactTarget != text::kTargetPrivate) {
        openOn(p, CkRSlash(p.rt, g.dataDir), text::kProbeData);
    } else {
        openOn(p, g.userDir, text::kProbePrivate);
    }
}

void frmCompress_cmdDefault_Click(forms::Program& p) {
    p.frmCompress.lststatus.clear();
    openOn(p, CkRSlash(p.rt, p.rt.g.dataDir), text::kProbeData);
}

void frmCompress_dirDrive_Change(forms::Program& p) {
    p.frmCompress.dirPath.setPath(p.frmCompress.dirDrive.drive());
}

void frmCompress_dirPath_Change(forms::Program& p) {
    forms::FrmCompress& f = p.frmCompress;
    f.lblPath.setCaption(f.dirPath.dirPath());
    f.filDatabases.setPath(f.dirPath.dirPath());
    f.filDatabases.refreshFiles();
}

void frmCompress_filDatabases_PathChange(forms::Program& p) {
    lstCopy(p.rt, p.frmCompress.filDatabases, p.frmCompress.lstdatabases);
}

void frmCompress_ckbselectall_Click(forms::Program& p) {
    forms::FrmCompress& f = p.frmCompress;
    if (f.ckbselectall.value() == 1) {
        lstSelectAll(p.rt, f.lstdatabases);
    } else {
        lstUnSelectAll(p.rt, f.lstdatabases);
    }
}

void frmCompress_cmdCompress_Click(forms::Program& p) {
    forms::FrmCompress& f = p.frmCompress;
    Runtime& rt = p.rt;
    enterProcedure(rt.g, text::kCompressProcedure);
    RunTrap trap(p);

    std::string directory;
    std::string folder = f.filDatabases.dirPath();
    if (trap.run([&] { directory = CkRSlash(rt, folder); }) == Outcome::Leave) return;

    if (f.lstdatabases.listIndex() < 0) {
        rt.os.messages.show(rt.g.toolTitle, text::kSelectFirst, platform::Buttons::OK, platform::Icon::None);
        return;
    }

    f.lststatus.clear();
    const int last = static_cast<int>(f.lstdatabases.listCount()) - 1;
    int selected = 0;
    for (int i = 0; i <= last; ++i) selected += f.lstdatabases.selected(i) ? 1 : 0;
    f.pbrWorking.setMin(0);
    f.pbrWorking.setMax(static_cast<float>(selected == 0 ? 1 : selected));
    f.pbrWorking.setValue(0);

    bool any = false;
    int done = 0;
    for (int i = 0; i <= last; ++i) {
        if (!f.lstdatabases.selected(i)) continue;
        any = true;
        f.lblworking.setCaption(std::string(text::kWorkingOn) + vb::UCase(f.lstdatabases.list(i)) + "'");
        p.screen.doEvents();
        if (compressOne(p, trap, directory, i, static_cast<float>(done)) == Outcome::Leave) return;
        f.pbrWorking.setValue(static_cast<float>(++done));
        p.screen.doEvents();
    }

    f.ckbselectall.setValue(0);
    if (!any) {
        rt.os.messages.show(text::kNothingChosenTitle, text::kNothingChosen, platform::Buttons::OK,
                            platform::Icon::None);
    } else if (rt.g.compactTarget != text::kTargetPrivate) {
        rt.os.messages.show(rt.g.toolTitle, text::kCompleteShared, platform::Buttons::OK,
                            platform::Icon::None);
    } else {
        rt.os.messages.show(rt.g.toolTitle, text::kCompletePrivate, platform::Buttons::OK,
                            platform::Icon::None);
    }
}

void frmCompress_cmdClose_Click(forms::Program& p) {
    p.frmCompress.unload();
}

}  // namespace qx::maintenance
