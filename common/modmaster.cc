#include "common/modmaster.h"

#include <cctype>

#include "common/trap.h"
#include "platform/errors.h"

namespace qx {

using vb::InStr;
using vb::Left;
using vb::Len;
using vb::Mid;
using vb::Right;
using vb::Trim;
using vb::UCase;

std::string CkRSlash(Runtime& rt, std::string& path) {
    Trap trap(rt, "CkRSlash");
    std::string result;
    trap.run([&] {
        if (Trim(path).empty()) {
            result.clear();
            return;
        }
        if (Right(Trim(path), 1) != "\\") path = Trim(path) + "\\";
        result = Trim(path);
    });
    return result;
}

std::string StripRChar(Runtime& rt, std::string& path) {
    Trap trap(rt, "StripRChar");
    std::string result;
    trap.run([&] {
        path = Trim(path);
        if (!path.empty() && Right(path, 1) == "\\") path = Left(path, Len(path) - 1);
        result = Trim(path);
    });
    return result;
}

void ParseFileName(Runtime& rt, std::string_view full, std::string& drive, std::string& dir,
                   std::string& name, std::string& ext) {
    Trap trap(rt, "ParseFileName");
    trap.run([&] {
        if (Trim(full).empty()) {
            drive.clear(), dir.clear(), name.clear(), ext.clear();
            return;
        }
        name = UCase(Trim(full));
        if (InStr(name, ":") == 2) {
            drive = Left(name, 2);
            name = Mid(name, 3);
        } else {
            drive.clear();
        }
        if (const auto b = InStr(name, "]"); b > 0) name = Mid(name, b + 1);
        if (const auto p = InStr(name, "."); p > 0) {
            if (p == Len(name)) {
                ext.clear();
                name = Left(name, p - 1);
            } else {
                ext = Mid(name, p + 1);
                name = Left(name, p - 1);
            }
        } else {
            ext.clear();
        }
        const auto cut = name.rfind('\\');
        if (cut != std::string::npos) {
            dir = name.substr(0, cut + 1);
            name = name.substr(cut + 1);
        } else {
            dir.clear();
        }
    });
}

std::string SplitAt(std::string_view text, std::string_view side, std::string_view separator) {
    const auto p = InStr(text, separator);
    if (p == 0) return {};
    const std::string s = UCase(Left(side, 1));
    if (s == "L") return Left(text, p - 1);
    if (s == "R") return Right(text, Len(text) - p - Len(separator) + 1);
    return {};
}

void SepDate(Runtime& rt, const platform::LocalTime& date, vb::Integer& year, vb::Integer& month,
             vb::Integer& day) {
    Trap trap(rt, "SepDate");
    if (!trap.run([&] { year = vb::CInt(date.year); })) return;
    if (!trap.run([&] { month = vb::CInt(date.month); })) return;
    trap.run([&] { day = vb::CInt(date.day); });
}

namespace {

bool parseDateText(std::string_view s, platform::LocalTime& t) {
    const std::string text = Trim(s);
    int a = 0, b = 0, c = 0;
    char s1 = 0, s2 = 0;
    int consumed = 0;
    if (std::sscanf(text.c_str(), "%d%c%d%c%d%n", &a, &s1, &b, &s2, &c, &consumed) != 5) return false;
    if (s1 == '/' && s2 == '/') {
        t.month = a, t.day = b, t.year = c;
    } else if (s1 == '-' && s2 == '-') {
        t.year = a, t.month = b, t.day = c;
    } else {
        return false;
    }
    if (t.year < 100) t.year += t.year < 30 ? 2000 : 1900;  // two-digit years as Windows reads them
    static constexpr int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (t.month < 1 || t.month > 12 || t.day < 1 || t.day > kDays[t.month - 1]) return false;
    const bool leap = (t.year % 4 == 0 && t.year % 100 != 0) || t.year % 400 == 0;
    if (t.month == 2 && t.day == 29 && !leap) return false;
    const std::string_view rest = std::string_view(text).substr(static_cast<std::size_t>(consumed));
    return rest.empty() || rest.front() == ' ';
}

}  // namespace

void SepDate(Runtime& rt, std::string_view date, vb::Integer& year, vb::Integer& month, vb::Integer& day) {
    Trap trap(rt, "SepDate");
    platform::LocalTime t;
    if (!trap.run([&] {
            if (!parseDateText(date, t)) raise(err::kTypeMismatch);
        }))
        return;
    if (!trap.run([&] { year = vb::CInt(t.year); })) return;
    if (!trap.run([&] { month = vb::CInt(t.month); })) return;
    trap.run([&] { day = vb::CInt(t.day); });
}

bool FileExists(Runtime& rt, std::string_view path) {
    Trap trap(rt, "FileExists");
    bool result = false;
    trap.run([&] {
        try {
            result = rt.os.fs.fileLen(path) >= 1;
        } catch (const RuntimeError& e) {
            if (e.number() != err::kFileNotFound) throw;
            result = false;
        }
    });
    return result;
}

vb::Integer DelPict(Runtime& rt, std::string_view path, bool quiet, std::string& prompt) {
    Trap trap(rt, "DelPict");
    vb::Integer result = 0;
    std::string drive, dir, name, ext;
    // ParseFileName leaves its own name as the current procedure, as the original did.
    if (!trap.run([&] { ParseFileName(rt, path, drive, dir, name, ext); })) return result;
    if (name.empty()) return 0;
    bool found = false;
    if (!trap.run([&] { found = !rt.os.fs.dir(path, platform::attr::kNormal).empty(); })) return result;
    if (!found) return 0;
    if (quiet) {
        if (!trap.run([&] { rt.os.fs.deleteFile(path); })) return result;
        if (!trap.run([&] { DebugNote(rt, path); })) return result;
        return 1;
    }
    if (prompt.empty()) prompt = "Delete " + std::string(path) + "?";
    platform::Answer answer = platform::Answer::No;
    if (!trap.run([&] {
            answer =
                rt.os.messages.show(rt.g.toolTitle, prompt, platform::Buttons::YesNo, platform::Icon::None);
        }))
        return result;
    if (answer != platform::Answer::Yes) return 0;
    if (!trap.run([&] { rt.os.fs.deleteFile(path); })) return result;
    if (!trap.run([&] { DebugNote(rt, path); })) return result;
    return 1;
}

void DebugNote(Runtime& rt, std::string_view path) {
    const std::string command = UCase(rt.os.system.commandLine());
    if (InStr(command, "/W") > 0) {
        rt.os.messages.show(command, "DEBUGGER DELETING " + std::string(path), platform::Buttons::OK,
                            platform::Icon::None);
    }
}

void lstSelectAll(Runtime& rt, ListModel& list) {
    Trap trap(rt, "lstSelectAll");
    const int count = static_cast<int>(list.listCount());
    for (int i = 0; i < count; ++i) {
        if (!trap.run([&] { list.setSelected(i, true); })) return;
    }
}

void lstUnSelectAll(Runtime& rt, ListModel& list) {
    Trap trap(rt, "lstUnSelectAll");
    const int count = static_cast<int>(list.listCount());
    for (int i = 0; i < count; ++i) {
        if (!trap.run([&] { list.setSelected(i, false); })) return;
    }
}

void lstCopy(Runtime& rt, ListModel& source, ListModel& target) {
    Trap trap(rt, "lstCopy");
    if (source.listCount() == 0) {
        trap.run([&] { target.clear(); });
        return;
    }
    if (!trap.run([&] { source.setListIndex(0); })) return;
    if (!trap.run([&] { target.clear(); })) return;
    const int count = static_cast<int>(source.listCount());
    for (int i = 0; i < count; ++i) {
        if (!trap.run([&] { target.addItem(source.list(i)); })) return;
    }
    trap.run([&] { target.refresh(); });
}

void setScreenMousePointer(Runtime& rt, int pointer) {
    rt.g.screenMousePointer = pointer;
    if (rt.g.onScreenMousePointer) rt.g.onScreenMousePointer(pointer);
}

vb::Integer ErrorReport(Runtime& rt, vb::Integer number, const RuntimeError& pending) {
    if (pending.number() == kErrRecordLocked) {
        rt.os.messages.show(rt.g.toolTitle, kCorruptDatabaseNotice, platform::Buttons::OK,
                            platform::Icon::None);
        rt.os.process.end();
    }
    switch (number) {
        case err::kDeviceIoError:
        case err::kDiskFull:
        case err::kDeviceUnavailable:
        case err::kDiskNotReady: {
            const std::string text = pending.description() + "." + "\r\n" + "Error #" + vb::Str(number) +
                                     " in module " + Trim(rt.g.currentProcedure) + ".";
            const auto answer = rt.os.messages.show(kErrorBoxTitle, text, platform::Buttons::AbortRetryIgnore,
                                                    platform::Icon::None);
            setScreenMousePointer(rt, 11);
            switch (answer) {
                case platform::Answer::Retry:
                case platform::Answer::OK:
                    return 0;
                case platform::Answer::Abort:
                case platform::Answer::Cancel:
                    return 2;
                case platform::Answer::Ignore:
                    return 1;
                default:
                    return 3;
            }
        }
        default:
            return 3;
    }
}

vb::Integer ErrorReport(Runtime& rt, const RuntimeError& pending) {
    return ErrorReport(rt, vb::CInt(pending.number()), pending);
}

vb::Integer ErrorReport(Runtime& rt, vb::Integer number) {
    return ErrorReport(rt, number, RuntimeError(number));
}

}  // namespace qx
