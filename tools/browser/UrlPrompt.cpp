#include "tools/browser/UrlPrompt.h"

#include <curses.h>

namespace {
constexpr std::size_t kMaxText = 1023;
constexpr int kEscape = 27;
constexpr int kControlU = 21;
constexpr int kBackspace = 8;
constexpr int kDelete = 127;

// In UTF-8 all bytes of a character but its first.
bool IsContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}
}  // namespace

void UrlPrompt::Open()
{
    mText.clear();
    mOpen = true;
}

UrlPrompt::Result UrlPrompt::HandleKey(int key)
{
    switch (key) {
        case '\n':
        case '\r':
        case KEY_ENTER:
            mOpen = false;
            return mText.empty() ? kCancelled : kGiven;
        case kEscape:
            mOpen = false;
            return kCancelled;
        case KEY_BACKSPACE:
        case kBackspace:
        case kDelete:
            EraseCharacter();
            break;
        case kControlU:
            mText.clear();
            break;
        default:
            if (key >= ' ' && key <= 0xFF && mText.size() < kMaxText) {
                mText += static_cast<char>(key);
            }
            break;
    }
    return kTyping;
}

void UrlPrompt::EraseCharacter()
{
    while (!mText.empty() && IsContinuation(mText.back())) {
        mText.pop_back();
    }
    if (!mText.empty()) {
        mText.pop_back();
    }
}
