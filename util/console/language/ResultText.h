// Internal. Builds a statement's result text in the caller's buffer of 4096 bytes; what goes
// beyond 4095 characters is cut. The text is terminated after every step. What stands behind its
// end is left as it was.
#ifndef UTIL_CONSOLE_LANGUAGE_RESULTTEXT_H
#define UTIL_CONSOLE_LANGUAGE_RESULTTEXT_H

#include <cstddef>

class ResultText
{
public:
    static constexpr std::size_t kSize = 4096;

    explicit ResultText(char* buffer) : mBuffer(buffer), mLength(0) { buffer[0] = '\0'; }

    void Append(char character) { AppendBytes(&character, 1); }

    // Null appends nothing.
    void Append(const char* text);

    void AppendInt(int value);
    void AppendHex(int value);
    void AppendFloat(float value);

private:
    void AppendBytes(const char* bytes, std::size_t length);

    char* const mBuffer;
    std::size_t mLength;
};

// The result of a statement that failed: the reason as its text, -1 as its code.
int Fail(char* result, const char* reason);

#endif  // UTIL_CONSOLE_LANGUAGE_RESULTTEXT_H
