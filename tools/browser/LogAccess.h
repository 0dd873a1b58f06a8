// The library's log, out of a library that was loaded at run time. The first call of the client
// sends the log to standard error, whatever logger.conf said; this sends it elsewhere.
#ifndef TOOLS_BROWSER_LOGACCESS_H
#define TOOLS_BROWSER_LOGACCESS_H

class LogAccess
{
public:
    // To be made before the client's first call, while the mode is still that of logger.conf.
    explicit LogAccess(void* libraryHandle);

    // Logs in that mode, as LogMode.h has them. Nothing when the library does not export what it
    // takes.
    void SetMode(int mode) const;

private:
    void (*mChangeMode)(int);
    int mConfigured;  // the mode of logger.conf
};

#endif  // TOOLS_BROWSER_LOGACCESS_H
