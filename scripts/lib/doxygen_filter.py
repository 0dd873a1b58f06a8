"""Shows doxygen the headers' comments, which are prose: doxygen_filter.py HEADER

What stands above a declaration, or behind it, becomes its documentation; what stands above several
without a blank line between becomes that of each of them. The header's first comment is that of the
file, and of the class of the file's name where that has none of its own. Lines stay where they are.
"""
import pathlib
import re
import sys

SCOPE = re.compile(r'^(template <[^{]*> )?((class|struct|enum|namespace)\b|extern "")')
# A comment behind code; strings are blank already.
TRAILING = re.compile(r"(.*?\S)\s*(?://|/\*)(?!/)(.*?)(?:\*/)?$")
NO_DECLARATION = re.compile(r"\s*(#(?!define)|public|protected|private|(class|struct) \w+;)|\W*$")
STRING = re.compile(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])\'')


def escaped(text):
    return re.sub(r"[\\@<>&#%]", lambda match: "\\" + match.group(), text)


def in_one_line(lines):
    return "/** " + " ".join(line or "<p>" for line in prose(lines)) + " */"


def prose(lines):
    """The lines of a comment, escaped; those that are indented stay as they are laid out."""
    result = []
    preformatted = False
    for line in lines:
        text = escaped(line.rstrip()).removeprefix(" ")
        indented = text.startswith("  ")
        if indented and not preformatted:
            text = "<pre>" + text
        elif preformatted and not indented:
            text = "</pre>" + text
        preformatted = indented
        result.append(text)
    if preformatted:
        result[-1] += "</pre>"
    return result


class Header:
    def __init__(self, path):
        self.name = pathlib.Path(path).stem
        self.lines = pathlib.Path(path).read_text().split("\n")
        self.about = []       # the file's first comment
        self.comment = []     # the one that holds for the declarations now
        self.fresh = False    # it has just been written where it stands
        self.scopes = []      # for each open brace whether declarations are inside
        self.declaration = ""  # the one that is being read

    def declares(self):
        return all(self.scopes)

    def take_comment(self, at):
        """The comment lines from there on, each without its mark, and the line behind them."""
        lines = []
        block = self.lines[at].lstrip().startswith("/*")
        while at < len(self.lines):
            text = self.lines[at].strip()
            if not block and not text.startswith("//"):
                break
            at += 1
            if not block:
                lines.append(text[2:])
                continue
            lines.append(re.sub(r"^(/\*| ?\*(?!/))|\*/$", "", text))
            if text.endswith("*/"):
                break
        return lines, at

    def documented(self, lines):
        for line in prose(lines):
            print("/// " + line)
        self.comment, self.fresh = lines, True

    def follow(self, code):
        """Keeps count of braces and of where a declaration begins and ends."""
        code = STRING.sub('""', code)
        for piece in re.split(r"([{};])", code):
            if piece == "{":
                self.scopes.append(bool(SCOPE.match(self.declaration.strip())))
                self.declaration = ""
            elif piece == "}":
                if self.scopes:
                    self.scopes.pop()
                self.declaration = ""
            elif piece == ";":
                self.declaration = ""
            else:
                self.declaration += piece.strip() and piece + " "
        if re.match(r"\s*(public|protected|private):$", code) or code.startswith("#"):
            self.declaration = ""

    def is_the_class(self, at):
        """Whether the class of the file's name begins there, perhaps as a template."""
        lines = self.lines[at:at + (2 if "template" in self.lines[at] else 1)]
        return re.search(rf"\b(class|struct)\b[^;]*\b{self.name}\b(?! *;)", " ".join(lines))

    def comment_of(self, at):
        """What to write before the declaration that begins there, unless it stands above it."""
        if self.is_the_class(at) and not self.comment:
            self.comment = self.about
        written, self.fresh = self.fresh, False
        return in_one_line(self.comment) + " " if self.comment and not written else ""

    def code_line(self, at):
        line = self.lines[at]
        trailing = TRAILING.match(STRING.sub(lambda text: "\0" * len(text.group()), line))
        code = line[:trailing.end(1)] if trailing else line
        begins = self.declares() and not self.declaration.strip()
        before = behind = ""
        if code.endswith(") = delete;"):
            print()
            return
        if begins and not NO_DECLARATION.match(code):
            before = self.comment_of(at)
        if trailing and self.scopes and self.declares() and code[-1] not in "{}":
            behind = " " + in_one_line([line[trailing.start(2):trailing.end(2)]])
            behind = behind.replace("**", "**<", 1)
        print(before + code + behind)
        self.follow(code)

    def show(self):
        self.about, at = self.take_comment(0)
        self.about[0] = self.about[0].replace("Public. ", "")
        print("/// @file")  # on the first two lines what is there on one
        self.documented(["".join(self.about[:2])] + self.about[2:])
        self.comment, self.fresh = [], False
        while at < len(self.lines):
            line = self.lines[at]
            if self.declares() and re.match(r"\s*(//|/\*)", line):
                lines, at = self.take_comment(at)
                self.documented(lines)
                continue
            if not line.strip() and self.declares():
                self.comment, self.fresh = [], False
            self.code_line(at)
            at += 1


if __name__ == "__main__":
    Header(sys.argv[1]).show()
