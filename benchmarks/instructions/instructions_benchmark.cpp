// Counts the cases that need the library; load_instructions.cpp counts loading it.
#include "benchmarks/instructions/counting.h"

int main(int count, char** arguments)
{
    return count::Main(count, arguments);
}
