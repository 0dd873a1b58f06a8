#include "tools/console/StatementBuilder.h"

#include <algorithm>

#include "util/console/CmdParser.h"
#include "util/console/StatementKind.h"

void StatementBuilder::Add(const std::string& line)
{
    if (IsCommentLine(line.c_str())) {
        return;
    }
    mLines.push_back(line);
    const CmdParser parser(line.c_str());
    if (OpensBlock(parser)) {
        ++mOpenBlocks;
    } else if (mOpenBlocks > 0 && EndsBlock(parser)) {
        --mOpenBlocks;
    }
}

std::vector<std::string> StatementBuilder::Take()
{
    std::vector<std::string> statement;
    statement.swap(mLines);
    return statement;
}

void StatementBuilder::Clear()
{
    mLines.clear();
    mOpenBlocks = 0;
}

bool MayQuit(const std::vector<std::string>& statement)
{
    return std::any_of(statement.begin(), statement.end(), [](const std::string& line) {
        return ClassifyStatement(CmdParser(line.c_str())) == StatementKind::kQuit;
    });
}
