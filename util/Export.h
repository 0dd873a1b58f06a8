// Public. The one export mark of the library, and its opposite. Everything is built hidden; what
// carries the mark is the public interface. Plain C and C++.
#ifndef UTIL_EXPORT_H
#define UTIL_EXPORT_H

/* On a function, a variable or a class that others may use. */
#define HTML5_VIDEO_API __attribute__((visibility("default")))

/* On a private member of a public class that no inline function uses: nobody outside can name it,
 * so it needs no place in the library's symbol table. */
#define HTML5_VIDEO_LOCAL __attribute__((visibility("hidden")))

#endif  // UTIL_EXPORT_H
