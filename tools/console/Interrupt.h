// ^C as something to wait for: a pipe that becomes readable.
#ifndef TOOLS_CONSOLE_INTERRUPT_H
#define TOOLS_CONSOLE_INTERRUPT_H

class Interrupt
{
public:
    // Takes SIGINT over for the rest of the process.
    static void Catch();

    // Readable from a ^C on until Take; -1 before Catch.
    static int Descriptor();

    // Forgets the ^C that came so far; whether there was one.
    static bool Take();
};

#endif  // TOOLS_CONSOLE_INTERRUPT_H
