// The whole program over a fresh copy of the fixture installation, with the database inspection
// handlers wired in, for the tests of the "Database Counts" tab and the support lock. Tests act
// through the controls, as a user does, and read what the controls show.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "dbinspect/wire.h"
#include "platform/errors.h"
#include "platform/testing/test_drive.h"
#include "shell/app.h"
#include "shell/data_control.h"
#include "shell/frmGridSecurity.h"
#include "shell/frmMain.h"

namespace qx::dbinspect::testing {

struct Unhandled {
    std::int32_t number;
    std::string description;
};

class InspectTest : public ::testing::Test {
  protected:
    InspectTest() : tp_(QX_SHARED_DIR) {}

    void start() {
        app_ = std::make_unique<shell::Application>(tp_.platform(), shell::buildVersion(), wire);
        app_->onUnhandledError = [this](const RuntimeError& e) {
            unhandled_.push_back({e.number(), e.description()});
        };
        ASSERT_TRUE(app_->start());
    }

    forms::FrmMain& main() { return app_->frmMain(); }
    forms::FrmGridSecurity& security() { return app_->frmGridSecurity(); }
    Globals& globals() { return app_->globals(); }

    void run(const std::function<void()>& gesture) { ASSERT_TRUE(app_->dispatch(gesture)); }
    void click(forms::Control& control) {
        run([&] { ASSERT_TRUE(control.userClick()); });
    }
    void listing() { click(main().cmdTableListing); }
    const std::vector<std::string>& lines() { return main().lstTableListing.items(); }
    int indexOf(const std::string& line) {
        const auto& all = lines();
        for (std::size_t i = 0; i < all.size(); ++i)
            if (all[i] == line) return static_cast<int>(i);
        return -1;
    }
    // The user clicks line `index` of the listing, then double-clicks it.
    void view(int index) {
        run([&] { ASSERT_TRUE(main().lstTableListing.userSelect(index)); });
        run([&] { ASSERT_TRUE(main().lstTableListing.userDblClick()); });
    }
    void view(const std::string& line) {
        const int index = indexOf(line);
        ASSERT_GE(index, 0) << line;
        view(index);
    }

    // Rewrites kel.ini with these directories (before start()).
    void directories(const std::string& app, const std::string& data, const std::string& user) {
        tp_.drive().write("APPRAISE\\kel.ini", "[directories]\r\nappdir=" + app + "\r\ndatadir=" + data +
                                                   "\r\nuserdir=" + user +
                                                   "\r\n\r\n[PROGRAM ALIAS]\r\nCORVID Office Plus=Corvid "
                                                   "Office Plus\r\n");
    }
    std::filesystem::path host(std::string_view relative) { return tp_.drive().host(relative); }
    std::string bytesOf(std::string_view relative) {
        std::ifstream in(host(relative), std::ios::binary);
        std::ostringstream bytes;
        bytes << in.rdbuf();
        return bytes.str();
    }
    platform::QueuedMessageBoxes& boxes() { return tp_.messages(); }

    qx::testing::TestPlatform tp_;
    std::unique_ptr<shell::Application> app_;
    std::vector<Unhandled> unhandled_;
};

}  // namespace qx::dbinspect::testing
