#include "util/console/language/Interpreter.h"

#include "util/console/CmdLanguage.h"
#include "util/console/CmdParser.h"
#include "util/console/language/BlockReader.h"
#include "util/console/language/BlockRunner.h"
#include "util/console/language/BlockTree.h"

int Interpreter::RunLine(CmdParser& parser, const char* line, char* result)
{
    if (IsCommentLine(line)) {
        return CmdLanguage::kNoCommand;
    }
    parser.Parse(line);
    return OpensBlock(BlockWordOf(parser)) ? RunBlock(line, result) : RunPlain(parser, result);
}

int Interpreter::RunPlain(CmdParser& line, char* result)
{
    return RunStatement(StatementOf(line), *this, line, result);
}

int Interpreter::RunBlock(const char* firstLine, char* result)
{
    result[0] = '\0';
    CmdBlock* const block = new CmdBlock;
    const char* const reason = BlockReader(lines).Read(block, new CmdParser(firstLine), nullptr);
    const int code =
        reason != nullptr ? Refuse(*block->mCommand, result, reason) : RunBlock(*block, result);
    FreeBlock(block);
    return code;
}

int Interpreter::RunBlock(const CmdBlock& block, char* result)
{
    BlockStep step(block);
    return BlockRunner(*this).Run(step, result);
}

int Interpreter::RunBlock(const CmdBlock& block, BlockWord word, char* result)
{
    BlockStep step(block, word);
    return BlockRunner(*this).Run(step, result);
}
