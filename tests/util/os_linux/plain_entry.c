/* Compiled without unwind tables, as C usually is on the target: the end of a thread that is
 * cancelled in here passes through no frame that lies around it. */
#include <stddef.h>
#include <unistd.h>

void* WaitInPlainC(void* argument);

void* WaitInPlainC(void* argument)
{
    while (argument == NULL) {
        pause();
    }
    return argument;
}
