// Public. Runs shell command lines: here, in a child with the box's fixed environment instead of
// the caller's, or through the launcher, a separate program that listens on the UNIX-domain stream
// socket "/mtmp/app_launcher".
//
// No operation returns a result; what fails is logged. A command that is null or does not fit is
// refused with an error line and nothing runs: it is never cut into a different command. The
// operations share no state and may be called from any thread; those that wait hold up only their
// caller, each a cancellation point. A thread that holds Logger::Lock() must not call them.
#ifndef UTIL_OS_LINUX_EXECSHELL_H
#define UTIL_OS_LINUX_EXECSHELL_H

#include "util/Export.h"

class HTML5_VIDEO_API ExecShell
{
public:
    // Runs "/bin/sh -c command" (at most 255 characters) in a child and returns at once. The ended
    // child stays for the host to collect, by Wait(-1), its own waitpid or a SIGCHLD disposition.
    // The child keeps the caller's descriptors 0, 1 and 2 and none that the library opened.
    void Exec(const char* command) const;

    // The same, and waits until the child has ended. The library path of this child also has
    // "/data/wlan" and "./".
    void ExecWait(const char* command) const;

    // Waits for the child of that process id to end; returns at once when there is none.
    void Wait(int pid) const;

    // Runs the command through the C library's system: the caller's environment, any length.
    void System(const char* command) const;

    // Has the launcher run the command (at most 511 characters) and does not wait. An empty
    // command is not sent. On the wire: the command's bytes, then the end of the stream.
    void ExternalExec(const char* command) const;

    // The same (at most 502 characters), and waits, without a limit, until the launcher answers or
    // closes. On the wire: "EXECBLOCK" and the command's bytes; the answer's content is ignored.
    void ExternalExecWait(const char* command) const;

    // ExternalExec("echo").
    void WaitExternalExec() const;
};

#endif  // UTIL_OS_LINUX_EXECSHELL_H
