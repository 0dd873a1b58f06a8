// The two forms in which boxinfo shows what it found out.
#ifndef TOOLS_BOXINFO_REPORT_H
#define TOOLS_BOXINFO_REPORT_H

#include <iosfwd>

#include "tools/boxinfo/BoxInfo.h"

// For people: one block per kind of fact; a kind without facts has none.
void WriteText(const BoxInfo& info, std::ostream& out);

// For programs: one object whose members are arrays, empty ones included. What could not be read
// is null. Bytes of a name that are no UTF-8 are replaced.
void WriteJson(const BoxInfo& info, std::ostream& out);

#endif  // TOOLS_BOXINFO_REPORT_H
