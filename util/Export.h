// The one export mark of the library. Everything is built hidden; what carries this mark is the
// public interface. Plain C and C++.
#ifndef UTIL_EXPORT_H
#define UTIL_EXPORT_H

#define HTML5_VIDEO_API __attribute__((visibility("default")))

#endif  // UTIL_EXPORT_H
