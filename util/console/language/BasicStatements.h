// Internal. What the built-in words do, one function a word; PRINT has a source of its own. Each is
// a StatementFunction.
#ifndef UTIL_CONSOLE_LANGUAGE_BASICSTATEMENTS_H
#define UTIL_CONSOLE_LANGUAGE_BASICSTATEMENTS_H

class CmdParser;
class StatementContext;
enum class Arithmetic;

namespace statement {
int Quit(StatementContext& context, CmdParser& line, char* result);
int Help(StatementContext& context, CmdParser& line, char* result);
int File(StatementContext& context, CmdParser& line, char* result);
int Break(StatementContext& context, CmdParser& line, char* result);
int Int(StatementContext& context, CmdParser& line, char* result);
int String(StatementContext& context, CmdParser& line, char* result);
int Float(StatementContext& context, CmdParser& line, char* result);
int Pointer(StatementContext& context, CmdParser& line, char* result);
int Free(StatementContext& context, CmdParser& line, char* result);
int Print(StatementContext& context, CmdParser& line, char* result);
int Sleep(StatementContext& context, CmdParser& line, char* result);

// a op b, with the operation that stands in the line, or with another.
int Compute(StatementContext& context, CmdParser& line, char* result);
int Compute(Arithmetic operation, const CmdParser& line, char* result);
}  // namespace statement

#endif  // UTIL_CONSOLE_LANGUAGE_BASICSTATEMENTS_H
