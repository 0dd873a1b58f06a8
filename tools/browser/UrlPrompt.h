// One line that a person types: the address of what to load. The screen hands over each key and
// goes on meanwhile.
#ifndef TOOLS_BROWSER_URLPROMPT_H
#define TOOLS_BROWSER_URLPROMPT_H

#include <string>

class UrlPrompt
{
public:
    enum Result
    {
        kTyping,
        kGiven,
        kCancelled
    };

    bool IsOpen() const { return mOpen; }
    void Open();
    void Close() { mOpen = false; }

    // A key of getch: a byte of a character, or a key with a code of curses. All but kTyping close
    // the prompt; Enter without a text cancels.
    Result HandleKey(int key);

    const std::string& GetText() const { return mText; }

private:
    void EraseCharacter();

    std::string mText;  // bytes as they were typed
    bool mOpen = false;
};

#endif  // TOOLS_BROWSER_URLPROMPT_H
