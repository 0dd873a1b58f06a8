// Public. One entry of a channel's method table.
#ifndef UTIL_IPC_IPCMETHOD_H
#define UTIL_IPC_IPCMETHOD_H

#include "util/Export.h"

class IPCParam;

// Runs on the channel's serving thread, one request at a time. The request belongs to the channel,
// which deletes it afterwards. The result is a new record that the channel sends and deletes, or
// null for a reply without a record.
using IPCHandler = IPCParam* (*)(IPCParam* request);

class HTML5_VIDEO_API IPCMethod
{
public:
    // The name is copied and cut to 63 characters.
    IPCMethod(const char* name, IPCHandler handler);

    // The name as stored, by which the table finds the entry.
    const char* ToString() const { return mName; }

    char mName[64];       // NUL-terminated
    IPCHandler mHandler;  // not owned
};

#endif  // UTIL_IPC_IPCMETHOD_H
