// Internal. Builds a statement's result text in the caller's buffer of 4096 bytes; what goes
// beyond 4095 characters is cut. The text is terminated after every step.
#ifndef UTIL_CONSOLE_LANGUAGE_RESULTTEXT_H
#define UTIL_CONSOLE_LANGUAGE_RESULTTEXT_H

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

class ResultText
{
public:
    static constexpr std::size_t kSize = 4096;

    // Empties the whole buffer.
    explicit ResultText(char* buffer) : mBuffer(buffer), mLength(0)
    {
        std::memset(buffer, 0, kSize);
    }

    void Append(char character) { AppendBytes(&character, 1); }

    // Null appends nothing.
    void Append(const char* text)
    {
        if (text != nullptr) {
            AppendBytes(text, std::strlen(text));
        }
    }

    void AppendInt(int value) { AppendFormatted("%d", value); }
    void AppendHex(int value) { AppendFormatted("%x", static_cast<unsigned>(value)); }
    void AppendFloat(float value) { AppendFormatted("%f", static_cast<double>(value)); }

private:
    void AppendFormatted(const char* format, ...) __attribute__((format(printf, 2, 3)))
    {
        char text[64];  // the largest float has 39 digits, a point and six more
        va_list values;
        va_start(values, format);
        std::vsnprintf(text, sizeof(text), format, values);
        va_end(values);
        Append(text);
    }

    void AppendBytes(const char* bytes, std::size_t length)
    {
        const std::size_t room = kSize - 1 - mLength;
        const std::size_t taken = length < room ? length : room;
        std::memcpy(mBuffer + mLength, bytes, taken);
        mLength += taken;
    }

    char* const mBuffer;
    std::size_t mLength;
};

// The result of a statement that failed: the reason as its text, -1 as its code.
int Fail(char* result, const char* reason);

#endif  // UTIL_CONSOLE_LANGUAGE_RESULTTEXT_H
