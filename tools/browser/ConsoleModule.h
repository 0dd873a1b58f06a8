// What the browser calls in the module of its debugging console.
#ifndef TOOLS_BROWSER_CONSOLEMODULE_H
#define TOOLS_BROWSER_CONSOLEMODULE_H

// Starts the console on 127.0.0.1 and that port: 0, or -1.
extern "C" __attribute__((visibility("default"))) int StartBrowserConsole(int port);

#endif  // TOOLS_BROWSER_CONSOLEMODULE_H
