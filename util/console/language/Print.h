// Internal. The statement PRINT, a StatementFunction.
#ifndef UTIL_CONSOLE_LANGUAGE_PRINT_H
#define UTIL_CONSOLE_LANGUAGE_PRINT_H

class CmdParser;
class StatementContext;

namespace statement {
int Print(StatementContext& context, CmdParser& line, char* result);
}  // namespace statement

#endif  // UTIL_CONSOLE_LANGUAGE_PRINT_H
