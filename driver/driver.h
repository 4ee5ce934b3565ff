// The script driver: runs the program without a display from a script of user gestures and
// prints what happens as JSON Lines. `qxtest-cli run [SCRIPT]` is its command line.
//
// Script: one command per line; "#" starts a comment; strings are double-quoted with JSON escapes;
// CONTROL is form.name or form.name(index); FORM is a form name.
//   before start:  root DIR | os MAJOR MINOR PLATFORMID "SERVICEPACK" | cmdline "ARGS"
//   at any time:   memory LOAD TOTALPHYS AVAILPHYS TOTALPAGE AVAILPAGE TOTALVIRTUAL AVAILVIRTUAL
//                  now YYYY-MM-DDTHH:MM:SS | answer OK|Cancel|Abort|Retry|Ignore|Yes|No
//   faults:        fault readonly "FOLDER" | fault vanish "FOLDER" | fault vanish-on-write "FOLDER"
//                  fault write N ERR | fault clear   (before start they take effect at start)
//   start          creates frmMain and runs its load
//   actions:       click CONTROL ["YYYY-MM-DD" for a calendar] | dblclick CONTROL | key CONTROL CODE
//                  type CONTROL "text" | settext CONTROL "text" | select CONTROL INDEX
//                  selected CONTROL INDEX 0|1 | tab N | dbltab | advance MS | close FORM
//   print CONTROL | print FORM | print GRID FIRST COUNT   (rows FIRST .. FIRST+COUNT-1 only)
//
// Output, in the order things happen:
//   {"msgbox":{"title":T,"text":X,"buttons":B,"icon":I},"answer":A}
//   {"control":"frmMain.ckbKELini","value":0,"caption":"Passed"}      (properties by kind)
//   {"form":"frmMain","caption":C,"loaded":true,"visible":true}
//   {"error":{"number":N,"description":D}}    an unhandled run-time error; the script goes on
//   {"refused":CONTROL,"reason":R}             a gesture the user could not make (hidden, disabled,
//                                              on another tab, behind a modal form)
//   {"exit":true}                              the program ended; the rest of the script is skipped
//
// Exit status: 0 when the script ran to its end or to the program's end; 1 when a message box came
// up with no answer queued (the box is printed with "answer":null) or the environment could not be
// set up; 2 with a message on standard error for a line the driver cannot understand.
//
// The platform: the POSIX path space with C: mapped to the root folder (through a fault injector
// that changes nothing until a `fault` line asks), the host's system answers
// with the version record and memory figures the script sets, a clock that stands at `now` and
// moves only with `advance` (the host's clock when no `now` is given), and message boxes answered
// from the `answer` queue.
#pragma once

#include <iosfwd>
#include <string>

namespace qx::driver {

struct DriverOptions {
    std::string root;  // --root DIR: the folder that stands for C: (the script's `root` overrides it)
};

int runScript(std::istream& script, std::ostream& out, std::ostream& err, const DriverOptions& options);

}  // namespace qx::driver
