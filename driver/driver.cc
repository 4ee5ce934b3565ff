#include "driver/driver.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <istream>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "assembly/subsystems.h"
#include "base/civil_date.h"
#include "driver/json.h"
#include "platform/faulty_filesystem.h"
#include "platform/ini_profile.h"
#include "platform/posix_filesystem.h"
#include "platform/posix_platform.h"
#include "platform/posix_system.h"
#include "platform/queued_message_boxes.h"
#include "shell/app.h"

namespace qx::driver {

using shell::Application;

namespace {

// ---- Time arithmetic for the script clock ------------------------------------------------------

using base::civilFromDays;
using base::daysFromCivil;

platform::LocalTime addMilliseconds(const platform::LocalTime& t, std::int64_t ms) {
    std::int64_t seconds =
        daysFromCivil(t.year, t.month, t.day) * 86400 + t.hour * 3600 + t.minute * 60 + t.second;
    seconds += ms / 1000;
    std::int64_t days = seconds / 86400;
    std::int64_t rest = seconds % 86400;
    if (rest < 0) {
        rest += 86400;
        --days;
    }
    platform::LocalTime out;
    civilFromDays(days, out.year, out.month, out.day);
    out.hour = static_cast<int>(rest / 3600);
    out.minute = static_cast<int>(rest / 60 % 60);
    out.second = static_cast<int>(rest % 60);
    return out;
}

// Stands at the script's `now` (or follows the host's clock when none was given), moved on by
// `advance`.
class ScriptClock final : public platform::Clock {
  public:
    platform::LocalTime now() const override {
        return addMilliseconds(fixed_ ? *fixed_ : real_.now(), offsetMs_);
    }
    void set(platform::LocalTime t) {
        fixed_ = t;
        offsetMs_ = 0;
    }
    void advance(std::int64_t ms) { offsetMs_ += ms; }

  private:
    std::optional<platform::LocalTime> fixed_;
    std::int64_t offsetMs_ = 0;
    platform::LocalClock real_;
};

// The host's answers, except the memory record when the script sets one.
class ScriptSystemInfo final : public platform::SystemInfo {
  public:
    ScriptSystemInfo(platform::PosixSystemOptions options,
                     const std::optional<platform::MemoryStatus>& memory)
        : real_(std::move(options)), memory_(memory) {}
    std::uint32_t GetWindowsDirectoryA(std::string& buffer, std::uint32_t size) const override {
        return real_.GetWindowsDirectoryA(buffer, size);
    }
    std::uint32_t GetSystemDirectoryA(std::string& buffer, std::uint32_t size) const override {
        return real_.GetSystemDirectoryA(buffer, size);
    }
    bool GetVersionExA(platform::OsVersionInfo& info) const override { return real_.GetVersionExA(info); }
    void GlobalMemoryStatus(platform::MemoryStatus& status) const override {
        if (!memory_) {
            real_.GlobalMemoryStatus(status);
            return;
        }
        const std::uint32_t length = status.dwLength;
        status = *memory_;
        status.dwLength = length;
    }
    std::string programFolder() const override { return real_.programFolder(); }
    std::string commandLine() const override { return real_.commandLine(); }

  private:
    platform::PosixSystemInfo real_;
    const std::optional<platform::MemoryStatus>& memory_;
};

// The file system the program sees: the host's, through a fault injector that does nothing until a
// script asks. On top, a folder that is to vanish at the next write: the check before the write
// (does the folder exist?) must still find it, and only the write itself must find it gone.
class ScriptFileSystem final : public platform::FileSystemWrapper {
  public:
    explicit ScriptFileSystem(platform::FaultyFileSystem& faulty)
        : FileSystemWrapper(static_cast<platform::FileSystem&>(faulty)), faulty_(faulty) {}

    void vanishOnNextWrite(std::string folder) { pendingVanish_.push_back(std::move(folder)); }
    void clearFaults() {
        pendingVanish_.clear();
        faulty_.clearFaults();
    }

    void copyFile(std::string_view source, std::string_view destination) override {
        beforeWrite();
        FileSystemWrapper::copyFile(source, destination);
    }
    void deleteFile(std::string_view path) override {
        beforeWrite();
        FileSystemWrapper::deleteFile(path);
    }
    void openForOutput(int number, std::string_view path) override {
        beforeWrite();
        FileSystemWrapper::openForOutput(number, path);
    }
    void printLine(int number, std::string_view text) override {
        beforeWrite();
        FileSystemWrapper::printLine(number, text);
    }
    std::string hostPathForWrite(std::string_view path) override {
        beforeWrite();
        return FileSystemWrapper::hostPathForWrite(path);
    }

  private:
    void beforeWrite() {
        const std::vector<std::string> folders = std::move(pendingVanish_);
        pendingVanish_.clear();
        for (const std::string& folder : folders) {
            try {
                faulty_.vanish(folder);
            } catch (const RuntimeError&) {
                // Already gone from the disk itself: the write will find it missing all the same.
            }
        }
    }

    platform::FaultyFileSystem& faulty_;
    std::vector<std::string> pendingVanish_;
};

// ---- Script lines -----------------------------------------------------------------------------

struct Token {
    std::string text;
    bool quoted = false;
};

class ScriptError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A message box came up and the script had queued no answer for it. Not a std::exception, so that
// no error trap of the program takes it for one of its own errors.
struct UnansweredBox {
    std::string message;
};

std::vector<Token> tokenize(std::string_view line) {
    std::vector<Token> tokens;
    std::size_t i = 0;
    while (i < line.size()) {
        const char c = line[i];
        if (c == ' ' || c == '\t' || c == '\r') {
            ++i;
        } else if (c == '#') {
            break;
        } else if (c == '"') {
            auto text = json::readString(line, i);
            if (!text) throw ScriptError("malformed string");
            tokens.push_back({std::move(*text), true});
        } else {
            const std::size_t start = i;
            while (i < line.size() && line[i] != ' ' && line[i] != '\t' && line[i] != '\r' &&
                   line[i] != '#' && line[i] != '"')
                ++i;
            tokens.push_back({std::string(line.substr(start, i - start)), false});
        }
    }
    return tokens;
}

std::int64_t parseInteger(const Token& token, std::int64_t lo, std::int64_t hi, const char* what) {
    std::int64_t value = 0;
    const char* first = token.text.data();
    const char* last = first + token.text.size();
    auto [ptr, ec] = std::from_chars(first, last, value);
    if (token.quoted || ec != std::errc() || ptr != last || value < lo || value > hi)
        throw ScriptError(std::string("expected ") + what + ", got '" + token.text + "'");
    return value;
}

platform::LocalTime parseDateTime(const std::string& text, bool withTime) {
    platform::LocalTime t;
    int consumed = 0;
    const int fields = withTime
                           ? std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%n", &t.year, &t.month, &t.day,
                                         &t.hour, &t.minute, &t.second, &consumed)
                           : std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &t.year, &t.month, &t.day, &consumed);
    const int wanted = withTime ? 6 : 3;
    if (fields != wanted || static_cast<std::size_t>(consumed) != text.size() || t.month < 1 ||
        t.month > 12 || t.day < 1 || t.day > 31 || t.hour > 23 || t.minute > 59 || t.second > 59)
        throw ScriptError("expected a date " + std::string(withTime ? "YYYY-MM-DDTHH:MM:SS" : "YYYY-MM-DD") +
                          ", got '" + text + "'");
    int y = 0, m = 0, d = 0;
    civilFromDays(daysFromCivil(t.year, t.month, t.day), y, m, d);
    if (y != t.year || m != t.month || d != t.day) throw ScriptError("no such date '" + text + "'");
    return t;
}

platform::Answer parseAnswer(const Token& token) {
    static const std::map<std::string, platform::Answer> names = {
        {"OK", platform::Answer::OK},         {"Cancel", platform::Answer::Cancel},
        {"Abort", platform::Answer::Abort},   {"Retry", platform::Answer::Retry},
        {"Ignore", platform::Answer::Ignore}, {"Yes", platform::Answer::Yes},
        {"No", platform::Answer::No}};
    auto it = names.find(token.text);
    if (it == names.end()) throw ScriptError("unknown answer '" + token.text + "'");
    return it->second;
}

// ---- Printing ---------------------------------------------------------------------------------

std::string number(float v) {
    char buf[64];
    auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, v);
    return ec == std::errc() ? std::string(buf, ptr) : std::string("0");
}

std::string boolean(bool b) {
    return b ? "true" : "false";
}

std::string intArray(const std::vector<int>& items) {
    std::string out = "[";
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0) out += ',';
        out += std::to_string(items[i]);
    }
    return out + "]";
}

// A control's properties as one JSON object, {"control":PATH,"key":value,...}, in the order the
// control describes them. A grid's rows are read a window at a time; with `range` (first row,
// count) only those rows are printed, preceded by "firstRow" and the grid's whole "rowCount".
class JsonProperties final : public forms::PropertyVisitor {
  public:
    JsonProperties(const std::string& path, std::optional<std::pair<std::size_t, std::size_t>> range)
        : out_("{\"control\":" + json::quote(path)), range_(range) {}
    std::string finish() { return out_ + "}"; }

    void text(std::string_view name, const std::string& value) override { field(name, json::quote(value)); }
    void flag(std::string_view name, bool value) override { field(name, boolean(value)); }
    void integer(std::string_view name, std::int64_t value) override { field(name, std::to_string(value)); }
    void real(std::string_view name, float value) override { field(name, number(value)); }
    void texts(std::string_view name, const std::vector<std::string>& values) override {
        field(name, json::stringArray(values));
    }
    void integers(std::string_view name, const std::vector<int>& values) override {
        field(name, intArray(values));
    }
    void rows(std::string_view name, std::size_t count, const RowWindow& window) override {
        constexpr std::size_t kWindow = 256;
        std::size_t first = 0, end = count;
        if (range_) {
            first = std::min(range_->first, count);
            end = first + std::min(range_->second, count - first);
            field("firstRow", std::to_string(first));
            field("rowCount", std::to_string(count));
        }
        std::string rows = "[";
        for (std::size_t at = first; at < end; at += kWindow) {
            for (const auto& row : window(at, std::min(kWindow, end - at))) {
                if (rows.size() > 1) rows += ',';
                rows += json::stringArray(row);
            }
        }
        field(name, rows + "]");
    }

  private:
    void field(std::string_view key, const std::string& value) {
        out_ += ",\"";
        out_ += key;
        out_ += "\":";
        out_ += value;
    }
    std::string out_;
    std::optional<std::pair<std::size_t, std::size_t>> range_;
};

std::string describeControl(const forms::Control& c,
                            std::optional<std::pair<std::size_t, std::size_t>> range = std::nullopt) {
    JsonProperties out(c.path(), range);
    c.describe(out);
    return out.finish();
}

std::string describeForm(const forms::Form& f) {
    return "{\"form\":" + json::quote(f.name()) + ",\"caption\":" + json::quote(f.caption()) +
           ",\"loaded\":" + boolean(f.loaded()) + ",\"visible\":" + boolean(f.visible()) + "}";
}

std::string describeBox(const platform::ShownBox& box, const char* answer) {
    return "{\"msgbox\":{\"title\":" + json::quote(box.title) + ",\"text\":" + json::quote(box.text) +
           ",\"buttons\":" + json::quote(platform::buttonsName(box.buttons)) +
           ",\"icon\":" + json::quote(platform::iconName(box.icon)) +
           "},\"answer\":" + (answer != nullptr ? json::quote(answer) : std::string("null")) + "}";
}

// ---- The driver -------------------------------------------------------------------------------

class Driver {
  public:
    Driver(std::ostream& out, const DriverOptions& options) : out_(out), root_(options.root) {
        messages_.setObserver([this](const platform::ShownBox& box) {
            emit(describeBox(box, platform::answerName(box.answer)));
        });
        messages_.setFallback([this](const platform::ShownBox& box) -> platform::Answer {
            emit(describeBox(box, nullptr));
            throw UnansweredBox{"a message box came up with no answer queued: \"" + box.title + "\": \"" +
                                box.text + "\""};
        });
    }

    // Runs one line; false when the program has ended and the rest is to be skipped.
    bool runLine(const std::vector<Token>& tokens);

  private:
    void emit(const std::string& line) { out_ << line << '\n' << std::flush; }
    void expectArgs(const std::vector<Token>& t, std::size_t n, const char* usage) const {
        if (t.size() != n + 1) throw ScriptError(std::string("usage: ") + usage);
    }
    void requireNotStarted(const std::string& command) const {
        if (app_) throw ScriptError(command + " must come before start");
    }
    Application& app() const {
        if (!app_) throw ScriptError("the program has not been started (start)");
        return *app_;
    }
    void start();
    forms::Form& resolveForm(const Token& token) const;
    forms::Control& resolveControl(const Token& token) const;
    std::optional<std::string> refusal(const forms::Control& control) const;
    std::optional<std::string> formRefusal(const forms::Form& form) const;
    // Runs a user gesture on `control` through the program's event loop.
    void gesture(forms::Control& control, const std::function<bool()>& action);
    void event(const std::function<void()>& action);
    void advance(std::int64_t ms);
    void fault(const std::vector<Token>& t);
    // The commands of a script line (see runLine).
    void runRoot(const std::vector<Token>& t);
    void runOs(const std::vector<Token>& t);
    void runCmdline(const std::vector<Token>& t);
    void runMemory(const std::vector<Token>& t);
    void runNow(const std::vector<Token>& t);
    void runAnswer(const std::vector<Token>& t);
    void runStart(const std::vector<Token>& t);
    void runClick(const std::vector<Token>& t);
    void runDblclick(const std::vector<Token>& t);
    void runKey(const std::vector<Token>& t);
    void runType(const std::vector<Token>& t);
    void runSelect(const std::vector<Token>& t);
    void runTab(const std::vector<Token>& t);
    void runDbltab(const std::vector<Token>& t);
    void runAdvance(const std::vector<Token>& t);
    void runClose(const std::vector<Token>& t);
    void runPrint(const std::vector<Token>& t);
    // A folder named by a fault, as the program would name it; a script error when it is missing.
    std::string existingFolder(const Token& token) const;

    std::ostream& out_;
    std::string root_;
    std::optional<platform::OsVersionInfo> version_;
    std::optional<platform::MemoryStatus> memory_;
    std::string commandLine_;
    ScriptClock clock_;
    platform::QueuedMessageBoxes messages_;
    platform::ThrowingProcess process_;
    std::unique_ptr<platform::PosixFileSystem> hostFs_;
    std::unique_ptr<platform::FaultyFileSystem> faultyFs_;
    std::unique_ptr<ScriptFileSystem> fs_;
    // Faults given before start: they need the file system, which start builds.
    std::vector<std::vector<Token>> earlyFaults_;
    std::unique_ptr<ScriptSystemInfo> system_;
    std::unique_ptr<platform::IniProfileStrings> profile_;
    std::unique_ptr<platform::Platform> platform_;
    std::unique_ptr<Application> app_;
};

void Driver::start() {
    // The host resolved the root (--root, $QXTEST_ROOT, the default); a script's `root` line
    // replaces it as written.
    const std::string& root = root_;
    std::error_code ec;
    if (!std::filesystem::is_directory(root, ec))
        throw std::runtime_error("the folder standing for C: does not exist: " + root);
    hostFs_ = std::make_unique<platform::PosixFileSystem>(std::map<char, std::string>{{'C', root}});
    faultyFs_ = std::make_unique<platform::FaultyFileSystem>(*hostFs_);
    fs_ = std::make_unique<ScriptFileSystem>(*faultyFs_);
    for (const auto& early : earlyFaults_) fault(early);
    earlyFaults_.clear();
    platform::PosixSystemOptions options;
    if (version_) options.version = *version_;
    options.commandLine = commandLine_;
    profile_ = std::make_unique<platform::IniProfileStrings>(*fs_, options.windowsDirectory);
    system_ = std::make_unique<ScriptSystemInfo>(std::move(options), memory_);
    platform_ = std::make_unique<platform::Platform>(
        platform::Platform{*fs_, *profile_, *system_, clock_, messages_, process_});
    app_ = std::make_unique<Application>(*platform_, shell::buildVersion(), assembly::wireSubsystems);
    app_->onUnhandledError = [this](const RuntimeError& error) {
        emit("{\"error\":{\"number\":" + std::to_string(error.number()) +
             ",\"description\":" + json::quote(error.description()) + "}}");
    };
    app_->start();
}

std::string Driver::existingFolder(const Token& token) const {
    if (!token.quoted) throw ScriptError("the folder is a quoted string");
    try {
        return faultyFs_->canonicalFolder(token.text);
    } catch (const RuntimeError&) {
        throw ScriptError("no such folder '" + token.text + "'");
    }
}

void Driver::fault(const std::vector<Token>& t) {
    static constexpr const char* kUsage =
        "fault readonly|vanish|vanish-on-write \"FOLDER\" | fault write N ERR | fault clear";
    if (t.size() < 2 || t[1].quoted) throw ScriptError(std::string("usage: ") + kUsage);
    const std::string& kind = t[1].text;
    const bool known = kind == "readonly" || kind == "vanish" || kind == "vanish-on-write" ||
                       kind == "write" || kind == "clear";
    if (!known) throw ScriptError("unknown fault '" + kind + "'");
    const std::size_t wanted = kind == "clear" ? 2 : kind == "write" ? 4 : 3;
    if (t.size() != wanted) throw ScriptError(std::string("usage: ") + kUsage);
    if (kind == "write") {
        // Checked now, so that a bad line before start is reported on its own line.
        parseInteger(t[2], 1, 1 << 30, "a write count");
        parseInteger(t[3], 1, 65535, "an error number");
    }
    if (!fs_) {
        earlyFaults_.push_back(t);
        return;
    }
    if (kind == "readonly") {
        faultyFs_->refuseWritesIn(existingFolder(t[2]));
    } else if (kind == "vanish") {
        faultyFs_->vanish(existingFolder(t[2]));
    } else if (kind == "vanish-on-write") {
        fs_->vanishOnNextWrite(existingFolder(t[2]));
    } else if (kind == "write") {
        faultyFs_->failWrite(static_cast<int>(parseInteger(t[2], 1, 1 << 30, "a write count")),
                             static_cast<std::int32_t>(parseInteger(t[3], 1, 65535, "an error number")));
    } else {
        fs_->clearFaults();
    }
}

forms::Form& Driver::resolveForm(const Token& token) const {
    forms::Form* form = app().screen().findForm(token.text);
    if (form == nullptr) throw ScriptError("unknown form '" + token.text + "'");
    return *form;
}

forms::Control& Driver::resolveControl(const Token& token) const {
    const std::string& ref = token.text;
    const auto dot = ref.find('.');
    if (token.quoted || dot == std::string::npos)
        throw ScriptError("expected form.control, got '" + ref + "'");
    forms::Form* form = app().screen().findForm(ref.substr(0, dot));
    if (form == nullptr) throw ScriptError("unknown form in '" + ref + "'");
    std::string name = ref.substr(dot + 1);
    int index = -1;
    if (const auto open = name.find('('); open != std::string::npos) {
        if (name.back() != ')') throw ScriptError("malformed control index in '" + ref + "'");
        Token indexToken{name.substr(open + 1, name.size() - open - 2), false};
        index = static_cast<int>(parseInteger(indexToken, 0, 32767, "a control index"));
        name.erase(open);
    }
    forms::Control* control = form->find(name, index);
    if (control == nullptr) throw ScriptError("unknown control '" + ref + "'");
    return *control;
}

std::optional<std::string> Driver::formRefusal(const forms::Form& form) const {
    if (!form.loaded() || !form.visible()) return "its form is not shown";
    if (!app().screen().acceptsInput(form))
        return "the modal form " + app().screen().activeModal()->name() + " is open";
    return std::nullopt;
}

std::optional<std::string> Driver::refusal(const forms::Control& control) const {
    if (auto r = formRefusal(control.form())) return r;
    if (&control.form() == &app().frmMain() && control.page() >= 0 &&
        app().frmMain().SSTab1.tab() != control.page())
        return "it is on another tab";
    for (const forms::Control* frame = control.container(); frame != nullptr; frame = frame->container())
        if (!frame->visible()) return "its frame is hidden";
    if (control.kind() == forms::ControlKind::MenuItem) {
        const auto* parent = static_cast<const forms::MenuItem&>(control).parentMenu();
        if (parent != nullptr && (!parent->visible() || !parent->enabled()))
            return "its menu is not available";
    }
    if (!control.visible()) return "it is hidden";
    if (!control.enabled()) return "it is disabled";
    return std::nullopt;
}

void Driver::event(const std::function<void()>& action) {
    if (!app().dispatch(action)) emit("{\"exit\":true}");
}

void Driver::gesture(forms::Control& control, const std::function<bool()>& action) {
    if (auto reason = refusal(control)) {
        emit("{\"refused\":" + json::quote(control.path()) + ",\"reason\":" + json::quote(*reason) + "}");
        return;
    }
    event([&] { (void)action(); });
}

void Driver::advance(std::int64_t ms) {
    forms::Screen& screen = app().screen();
    const std::int64_t target = screen.elapsedMs() + ms;
    // Due timers fire in time order (creation order on a tie), each with the clock at its moment.
    while (!app().ended()) {
        forms::Timer* next = nullptr;
        for (forms::Timer* timer : screen.runningTimers())
            if (timer->nextDueMs() <= target && (next == nullptr || timer->nextDueMs() < next->nextDueMs()))
                next = timer;
        if (next == nullptr) break;
        const std::int64_t due = next->nextDueMs();
        clock_.advance(due - screen.elapsedMs());
        screen.setElapsedMs(due);
        event([next] { next->tick(); });
    }
    if (app().ended()) return;
    clock_.advance(target - screen.elapsedMs());
    screen.setElapsedMs(target);
}

bool Driver::runLine(const std::vector<Token>& t) {
    if (t.empty()) return true;
    if (t[0].quoted) throw ScriptError("a line starts with a command, not a string");
    // The script's commands by their first word; each handler reads the rest of its line.
    static const std::map<std::string_view, void (Driver::*)(const std::vector<Token>&)> kCommands{
        {"root", &Driver::runRoot},         {"os", &Driver::runOs},         {"cmdline", &Driver::runCmdline},
        {"memory", &Driver::runMemory},     {"now", &Driver::runNow},       {"answer", &Driver::runAnswer},
        {"fault", &Driver::fault},          {"start", &Driver::runStart},   {"click", &Driver::runClick},
        {"dblclick", &Driver::runDblclick}, {"key", &Driver::runKey},       {"type", &Driver::runType},
        {"settext", &Driver::runType},      {"select", &Driver::runSelect}, {"selected", &Driver::runSelect},
        {"tab", &Driver::runTab},           {"dbltab", &Driver::runDbltab}, {"advance", &Driver::runAdvance},
        {"close", &Driver::runClose},       {"print", &Driver::runPrint},
    };
    const auto it = kCommands.find(t[0].text);
    if (it == kCommands.end()) throw ScriptError("unknown command '" + t[0].text + "'");
    (this->*it->second)(t);
    return !(app_ && app_->ended());
}

void Driver::runRoot(const std::vector<Token>& t) {
    const std::string& command = t[0].text;
    expectArgs(t, 1, "root DIR");
    requireNotStarted(command);
    root_ = t[1].text;
}

void Driver::runOs(const std::vector<Token>& t) {
    const std::string& command = t[0].text;
    expectArgs(t, 4, "os MAJOR MINOR PLATFORMID \"SERVICEPACK\"");
    requireNotStarted(command);
    platform::OsVersionInfo v = platform::defaultVersionRecord();
    v.dwMajorVersion = static_cast<std::uint32_t>(parseInteger(t[1], 0, 0xFFFFFFFFLL, "a major version"));
    v.dwMinorVersion = static_cast<std::uint32_t>(parseInteger(t[2], 0, 0xFFFFFFFFLL, "a minor version"));
    v.dwPlatformId = static_cast<std::uint32_t>(parseInteger(t[3], 0, 0xFFFFFFFFLL, "a platform id"));
    if (!t[4].quoted) throw ScriptError("the service pack is a quoted string");
    v.szCSDVersion = platform::csdField(t[4].text);
    version_ = v;
}

void Driver::runCmdline(const std::vector<Token>& t) {
    const std::string& command = t[0].text;
    expectArgs(t, 1, "cmdline \"ARGS\"");
    requireNotStarted(command);
    commandLine_ = t[1].text;
}

void Driver::runMemory(const std::vector<Token>& t) {
    expectArgs(t, 7, "memory LOAD TOTALPHYS AVAILPHYS TOTALPAGE AVAILPAGE TOTALVIRTUAL AVAILVIRTUAL");
    std::uint32_t f[7];
    for (int i = 0; i < 7; ++i)
        // Negative figures stand for the same 32 bits read signed (-1 is 0xFFFFFFFF).
        f[i] = static_cast<std::uint32_t>(
            parseInteger(t[static_cast<std::size_t>(i) + 1], -2147483648LL, 0xFFFFFFFFLL, "a 32-bit figure"));
    platform::MemoryStatus m;
    m.dwMemoryLoad = f[0];
    m.dwTotalPhys = f[1];
    m.dwAvailPhys = f[2];
    m.dwTotalPageFile = f[3];
    m.dwAvailPageFile = f[4];
    m.dwTotalVirtual = f[5];
    m.dwAvailVirtual = f[6];
    memory_ = m;
}

void Driver::runNow(const std::vector<Token>& t) {
    expectArgs(t, 1, "now YYYY-MM-DDTHH:MM:SS");
    clock_.set(parseDateTime(t[1].text, true));
}

void Driver::runAnswer(const std::vector<Token>& t) {
    expectArgs(t, 1, "answer OK|Cancel|Abort|Retry|Ignore|Yes|No");
    messages_.queue(parseAnswer(t[1]));
}

void Driver::runStart(const std::vector<Token>& t) {
    expectArgs(t, 0, "start");
    if (app_) throw ScriptError("start given twice");
    start();
    if (app_->ended()) emit("{\"exit\":true}");
}

void Driver::runClick(const std::vector<Token>& t) {
    if (t.size() != 2 && t.size() != 3) throw ScriptError("usage: click CONTROL [\"YYYY-MM-DD\"]");
    forms::Control& c = resolveControl(t[1]);
    if (c.kind() == forms::ControlKind::Calendar) {
        if (t.size() != 3) throw ScriptError("usage: click CALENDAR \"YYYY-MM-DD\"");
        const auto d = parseDateTime(t[2].text, false);
        auto& cal = static_cast<forms::Calendar&>(c);
        gesture(c, [&cal, d] { return cal.userClickDate({d.year, d.month, d.day}); });
    } else {
        if (t.size() != 2) throw ScriptError("only a calendar click takes a date");
        if (c.kind() == forms::ControlKind::TabStrip) throw ScriptError("use tab N for the tab strip");
        gesture(c, [&c] { return c.userClick(); });
    }
}

void Driver::runDblclick(const std::vector<Token>& t) {
    expectArgs(t, 1, "dblclick CONTROL");
    forms::Control& c = resolveControl(t[1]);
    gesture(c, [&c] { return c.userDblClick(); });
}

void Driver::runKey(const std::vector<Token>& t) {
    expectArgs(t, 2, "key CONTROL CODE");
    forms::Control& c = resolveControl(t[1]);
    const int code = static_cast<int>(parseInteger(t[2], 0, 65535, "a character code"));
    gesture(c, [&c, code] { return c.userKeyPress(code); });
}

void Driver::runType(const std::vector<Token>& t) {
    const std::string& command = t[0].text;
    expectArgs(t, 2, "type|settext CONTROL \"text\"");
    forms::Control& c = resolveControl(t[1]);
    if (!t[2].quoted) throw ScriptError("the text is a quoted string");
    if (c.kind() != forms::ControlKind::TextBox) throw ScriptError(t[1].text + " is not a text box");
    auto& box = static_cast<forms::TextBox&>(c);
    const std::string text = t[2].text;
    if (command == "type") {
        gesture(c, [&box, text] { return box.userType(text); });
    } else {
        gesture(c, [&box, text] {
            box.setText(text);
            return true;
        });
    }
}

void Driver::runSelect(const std::vector<Token>& t) {
    const std::string& command = t[0].text;
    const bool mark = command == "selected";
    expectArgs(t, mark ? 3 : 2, mark ? "selected CONTROL INDEX 0|1" : "select CONTROL INDEX");
    forms::Control& c = resolveControl(t[1]);
    auto* list = dynamic_cast<forms::ListBox*>(&c);
    if (list == nullptr) throw ScriptError(t[1].text + " is not a list");
    const int index = static_cast<int>(parseInteger(t[2], 0, 1 << 30, "a line index"));
    if (static_cast<std::size_t>(index) >= list->listCount()) {
        emit("{\"refused\":" + json::quote(c.path()) + ",\"reason\":\"it has no line " +
             std::to_string(index) + "\"}");
        return;
    }
    if (mark) {
        const bool on = parseInteger(t[3], 0, 1, "0 or 1") == 1;
        gesture(c, [list, index, on] {
            list->setSelected(index, on);
            return true;
        });
    } else {
        gesture(c, [list, index] { return list->userSelect(index); });
    }
}

void Driver::runTab(const std::vector<Token>& t) {
    expectArgs(t, 1, "tab N");
    forms::TabStrip& strip = app().frmMain().SSTab1;
    const int tab = static_cast<int>(parseInteger(t[1], 0, strip.tabCount() - 1, "a tab index"));
    gesture(strip, [&strip, tab] { return strip.userSelectTab(tab); });
}

void Driver::runDbltab(const std::vector<Token>& t) {
    expectArgs(t, 0, "dbltab");
    forms::TabStrip& strip = app().frmMain().SSTab1;
    gesture(strip, [&strip] { return strip.userDblClick(); });
}

void Driver::runAdvance(const std::vector<Token>& t) {
    expectArgs(t, 1, "advance MS");
    advance(parseInteger(t[1], 0, 1LL << 40, "milliseconds"));
}

void Driver::runClose(const std::vector<Token>& t) {
    expectArgs(t, 1, "close FORM");
    forms::Form& form = resolveForm(t[1]);
    if (auto reason = formRefusal(form)) {
        emit("{\"refused\":" + json::quote(form.name()) + ",\"reason\":" + json::quote(*reason) + "}");
    } else {
        event([this, &form] { app().closeForm(form); });
    }
}

void Driver::runPrint(const std::vector<Token>& t) {
    if (t.size() == 4) {
        // print GRID FIRST COUNT: a window of a large grid's rows.
        forms::Control& c = resolveControl(t[1]);
        if (c.kind() != forms::ControlKind::Grid) throw ScriptError(t[1].text + " is not a grid");
        const auto first = static_cast<std::size_t>(parseInteger(t[2], 0, 1LL << 40, "a first row"));
        const auto count = static_cast<std::size_t>(parseInteger(t[3], 0, 1LL << 40, "a row count"));
        emit(describeControl(c, std::make_pair(first, count)));
        return;
    }
    expectArgs(t, 1, "print CONTROL|FORM | print GRID FIRST COUNT");
    if (t[1].text.find('.') == std::string::npos) {
        emit(describeForm(resolveForm(t[1])));
    } else {
        emit(describeControl(resolveControl(t[1])));
    }
}

}  // namespace

int runScript(std::istream& script, std::ostream& out, std::ostream& err, const DriverOptions& options) {
    Driver driver(out, options);
    std::string line;
    int lineNumber = 0;
    while (std::getline(script, line)) {
        ++lineNumber;
        try {
            if (!driver.runLine(tokenize(line))) return 0;
        } catch (const ScriptError& e) {
            err << "qxtest-cli run: line " << lineNumber << ": " << e.what() << '\n';
            return 2;
        } catch (const UnansweredBox& e) {
            err << "qxtest-cli run: line " << lineNumber << ": " << e.message << '\n';
            return 1;
        } catch (const platform::NoQueuedAnswer& e) {
            err << "qxtest-cli run: line " << lineNumber << ": " << e.what() << '\n';
            return 1;
        } catch (const std::runtime_error& e) {
            err << "qxtest-cli run: line " << lineNumber << ": " << e.what() << '\n';
            return 1;
        }
    }
    return 0;
}

}  // namespace qx::driver
