// The channel to the player, out of a library that was loaded at run time. A browser needs it for
// one thing only: to get over the death of a player.
//
// The C functions always answer 0, and a connection that broke stays broken until the host says
// otherwise. Two questions to the channel tell and mend it:
//
//     IPCChannel* channel = IPCChannelMgr::GetInstance()->GetIPCChannel("HTML5 Video Socket");
//     channel->IsRunning()   false once the player has closed its connection
//     channel->Reopen()      the next command connects afresh
//
// A host that links the library writes exactly that. Without linking, the two functions of the
// manager are looked up by their exported C++ names; the rest is in the header (IsRunning is
// inline, Reopen is virtual). With this system's C++ calling convention a member function is called
// as a plain one with the object as its first argument.
#ifndef TOOLS_BROWSER_CHANNELACCESS_H
#define TOOLS_BROWSER_CHANNELACCESS_H

class IPCChannel;

// The video client's channel, which lives until the process ends; null when the library does not
// export what it takes, or html5_video_client_init was not called yet.
IPCChannel* FindVideoChannel(void* libraryHandle);

#endif  // TOOLS_BROWSER_CHANNELACCESS_H
