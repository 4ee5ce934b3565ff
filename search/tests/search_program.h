// A program over a fresh copy of the suite's installation, with the search subsystem wired: what
// the search tests drive.
#pragma once

#include "common/globals.h"
#include "platform/testing/test_drive.h"
#include "search/wire.h"
#include "shell/frmCompress.h"
#include "shell/frmDate.h"
#include "shell/frmDetails.h"
#include "shell/frmGridSecurity.h"
#include "shell/frmMain.h"
#include "shell/frmSM.h"
#include "shell/frmWarning.h"

namespace qx::search::testing {

struct SearchProgram {
    // `wired`: the tab's handlers in place (a change of a criteria box then searches); without
    // them the boxes are plain state for the statement builder.
    explicit SearchProgram(bool wired = true)
        : host(QX_SHARED_DIR, true),
          context{host.platform(), screen},
          main(context),
          sm(context),
          details(context),
          gridSecurity(context),
          date(context),
          warning(context),
          compress(context),
          program{Runtime{host.platform(), g},
                  screen,
                  main,
                  sm,
                  details,
                  gridSecurity,
                  date,
                  warning,
                  compress,
                  hooks} {
        g.dataDir = "C:\\KELDATA\\";
        if (wired) wire(program);
    }

    qx::testing::TestPlatform host;
    forms::Screen screen;
    forms::FormContext context;
    Globals g;
    forms::ShellHooks hooks;
    forms::FrmMain main;
    forms::FrmSM sm;
    forms::FrmDetails details;
    forms::FrmGridSecurity gridSecurity;
    forms::FrmDate date;
    forms::FrmWarning warning;
    forms::FrmCompress compress;
    forms::Program program;
};

}  // namespace qx::search::testing
