#include "tools/console/StatementBuilder.h"

#include <algorithm>

#include "tools/console/Language.h"

void StatementBuilder::Add(const std::string& line)
{
    const LineRole role = RoleOf(line);
    if (role == LineRole::kComment) {
        return;
    }
    mLines.push_back(line);
    if (role == LineRole::kOpensBlock) {
        ++mOpenBlocks;
    } else if (role == LineRole::kEndsBlock && mOpenBlocks > 0) {
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
    return std::any_of(statement.begin(), statement.end(),
                       [](const std::string& line) { return RoleOf(line) == LineRole::kQuits; });
}
