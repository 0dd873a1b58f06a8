// Internal. The language's arithmetic, comparisons and counting on 32-bit signed integers.
#ifndef UTIL_CONSOLE_LANGUAGE_INTEGEROPERATION_H
#define UTIL_CONSOLE_LANGUAGE_INTEGEROPERATION_H

#include <cstdint>
#include <cstring>

enum class Arithmetic
{
    kNone,
    kAdd,
    kSubtract,
    kMultiply,
    kDivide
};

enum class Comparison
{
    kNone,  // a word that compares nothing: never true
    kEqual,
    kNotEqual,
    kLess,
    kGreater,
    kLessOrEqual,
    kGreaterOrEqual
};

inline Arithmetic ArithmeticOf(const char* word)
{
    if (word[0] == '\0' || word[1] != '\0') {
        return Arithmetic::kNone;
    }
    switch (word[0]) {
        case '+':
            return Arithmetic::kAdd;
        case '-':
            return Arithmetic::kSubtract;
        case '*':
            return Arithmetic::kMultiply;
        case '/':
            return Arithmetic::kDivide;
        default:
            return Arithmetic::kNone;
    }
}

inline Comparison ComparisonOf(const char* word)
{
    constexpr const char* kWords[] = {"==", "!=", "<", ">", "<=", ">="};
    int code = static_cast<int>(Comparison::kEqual);
    for (const char* known : kWords) {
        if (std::strcmp(word, known) == 0) {
            return static_cast<Comparison>(code);
        }
        ++code;
    }
    return Comparison::kNone;
}

// Stores the result, wrapped to 32 bits, a quotient truncated toward zero. False, and nothing
// stored, for a division by zero.
inline bool Calculate(Arithmetic operation, int left, int right, int* result)
{
    const std::int64_t a = left;
    const std::int64_t b = right;
    std::int64_t value = 0;
    switch (operation) {
        case Arithmetic::kNone:
            return false;
        case Arithmetic::kAdd:
            value = a + b;
            break;
        case Arithmetic::kSubtract:
            value = a - b;
            break;
        case Arithmetic::kMultiply:
            value = a * b;
            break;
        case Arithmetic::kDivide:
            if (right == 0) {
                return false;
            }
            value = right == -1 ? -a : left / right;  // the one quotient that may not fit
            break;
    }
    *result = static_cast<int>(static_cast<std::uint32_t>(value));
    return true;
}

inline bool Compare(Comparison comparison, int left, int right)
{
    switch (comparison) {
        case Comparison::kEqual:
            return left == right;
        case Comparison::kNotEqual:
            return left != right;
        case Comparison::kLess:
            return left < right;
        case Comparison::kGreater:
            return left > right;
        case Comparison::kLessOrEqual:
            return left <= right;
        case Comparison::kGreaterOrEqual:
            return left >= right;
        case Comparison::kNone:
            break;
    }
    return false;
}

// The counter of a FOR. It is wider than the language's integers, so it does not wrap at their end,
// and no script sees it: one that would move away from the end stays where it is and goes on for
// ever, where moving would bring it round in the end.
class LoopCounter
{
public:
    LoopCounter(std::int64_t start, std::int64_t end, std::int64_t step)
        : mAt(start), mEnd(end), mStep(step > 0 ? step : 0)
    {}

    // Whether there is one more turn.
    bool Next()
    {
        const bool goesOn = mAt <= mEnd;
        mAt += mStep;
        return goesOn;
    }

private:
    std::int64_t mAt;
    const std::int64_t mEnd;
    const std::int64_t mStep;
};

#endif  // UTIL_CONSOLE_LANGUAGE_INTEGEROPERATION_H
