"""Finds every one-line mutant of the library's sources, by libclang's view of them."""

import json
import pathlib
import re
from dataclasses import dataclass

import clang.cindex
from clang.cindex import CursorKind, TypeKind

FOLDERS = ("html5_video", "util/ipc", "util/os_linux", "util/console", "util/container",
           "util/checksum")

EXCHANGES = {
    "relational": {"<": ["<="], "<=": ["<"], ">": [">="], ">=": [">"], "==": ["!="], "!=": ["=="]},
    "logical": {"&&": ["||"], "||": ["&&"]},
    "arithmetic": {"+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["/"], "<<": [">>"],
                   ">>": ["<<"], "&": ["|"], "|": ["&"], "^": ["&"], "+=": ["-="], "-=": ["+="],
                   "*=": ["/="], "/=": ["*="], "|=": ["&="], "&=": ["|="], "^=": ["&="],
                   "<<=": [">>="], ">>=": ["<<="]},
}
INTEGER = re.compile(r"(0[xX][0-9a-fA-F]+|\d+)([uUlL]*)$")
LETTER = re.compile(r"'[a-zA-Z0-8]'$")
LOCK_TYPE = re.compile(r"Hold\b|lock_guard|unique_lock|scoped_lock")
LOCK_CALL = re.compile(r"(\w+(\.|->))?(Lock|Unlock|TryLock|pthread_mutex_\w+)\(")
# What only other threads may notice.
CONCURRENT = re.compile(r"memory_order|atomic|exchange|fence|[Ll]ock|Hold|mutex|Signal|Broadcast|"
                        r"[Ww]ait|yield|Guard|\.load\(|\.store\(|Join|Cancel")
# Functions whose first two arguments may change places: who compares asks only for a difference.
SYMMETRIC = re.compile(r"(min|max|pthread_equal|(str|strn|strcase|strncase|mem)cmp)$")
SPACE = re.compile(r"\s*")


@dataclass(frozen=True)
class Mutant:
    source: str    # relative to the repository
    begin: int     # the bytes that are replaced
    end: int
    new: str
    operator: str
    line: int
    before: str    # the whole lines concerned, without their indentation
    after: str

    @property
    def folder(self):
        return max((folder for folder in FOLDERS if self.source.startswith(folder + "/")), key=len)

    @property
    def concurrent(self):
        return self.operator == "lock" or CONCURRENT.search(self.before) is not None

    @property
    def key(self):
        """Stays the same when the line moves."""
        return self.source, self.before, self.after

    def apply(self, text):
        return text[:self.begin] + self.new.encode() + text[self.end:]


def stripped(text):
    return "\n".join(line.strip() for line in text.splitlines()).strip()


class Source:
    """One file and the mutants found in it."""

    def __init__(self, name, path):
        self.name = name
        self.bytes = path.read_bytes()
        self.mutants = {}

    def text(self, begin, end):
        return self.bytes[begin:end].decode()

    def add(self, operator, begin, end, new):
        """A removed line end stays, so that no other line moves."""
        new += "\n" * (self.bytes.count(b"\n", begin, end) - new.count("\n"))
        first = self.bytes.rfind(b"\n", 0, begin) + 1
        last = self.bytes.find(b"\n", end)
        line = self.bytes.count(b"\n", 0, begin) + 1
        before = self.text(first, last)
        after = self.text(first, begin) + new + self.text(end, last)
        if stripped(before) != stripped(after):
            self.mutants.setdefault((begin, end, new), Mutant(
                self.name, begin, end, new, operator, line, stripped(before), stripped(after)))

    def follows(self, end):
        """The place and value of the first byte behind the end that is no space."""
        at = end + len(SPACE.match(self.text(end, len(self.bytes))).group())
        return at, self.text(at, at + 1)

    def precedes(self, begin):
        return self.bytes[:begin].rstrip()[-1:].decode()


class Finder:
    """Walks what the compiler sees of a file. What comes out of a macro has no text of its own
    and is passed over, but for a statement that is one call of a macro."""

    def __init__(self, sources):
        self.sources = sources  # by path
        self.source = None

    def walk(self, cursor):
        for child in cursor.get_children():
            file = child.location.file
            self.source = self.sources.get(file.name) if file else None
            if self.source is not None and child.kind != CursorKind.STATIC_ASSERT:
                self.visit(child, cursor)
                self.walk(child)
            elif file is None or child.kind in (CursorKind.NAMESPACE, CursorKind.LINKAGE_SPEC):
                self.walk(child)

    def visit(self, cursor, parent):
        kind = cursor.kind
        if parent.kind == CursorKind.COMPOUND_STMT:
            self.remove_statement(cursor)
        if kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR):
            self.exchange_operator(cursor)
        elif kind == CursorKind.UNARY_OPERATOR:
            self.exchange_step(cursor)
        elif kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.DO_STMT,
                      CursorKind.FOR_STMT, CursorKind.CONDITIONAL_OPERATOR):
            self.change_condition(cursor)
        elif kind == CursorKind.CALL_EXPR:
            self.exchange_arguments(cursor)
        elif kind == CursorKind.RETURN_STMT:
            self.change_return(cursor)
        elif kind in (CursorKind.INTEGER_LITERAL, CursorKind.CHARACTER_LITERAL,
                      CursorKind.CXX_BOOL_LITERAL_EXPR):
            self.change_constant(cursor)

    def range(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def exchange_operator(self, cursor):
        children = list(cursor.get_children())
        if len(children) != 2:
            return
        (left, left_end), (right, right_end) = map(self.range, children)
        if not left < left_end < right < right_end:
            return
        between = self.source.text(left_end, right)
        sign = between.strip()
        begin = left_end + between.find(sign)
        for operator, exchanges in EXCHANGES.items():
            for new in exchanges.get(sign, ()):
                self.source.add(operator, begin, begin + len(sign), new)
        if sign in EXCHANGES["logical"]:
            self.source.add("condition", left, right_end, self.source.text(left, left_end))
            self.source.add("condition", left, right_end, self.source.text(right, right_end))

    def exchange_step(self, cursor):
        begin, end = self.range(cursor)
        text = self.source.text(begin, end)
        for old, new in (("++", "--"), ("--", "++")):
            if text.startswith(old):
                self.source.add("arithmetic", begin, begin + 2, new)
            elif text.endswith(old):
                self.source.add("arithmetic", end - 2, end, new)

    def change_condition(self, cursor):
        """The condition is the child that stands between the statement's signs."""
        signs = {CursorKind.FOR_STMT: (";", ";"), CursorKind.CONDITIONAL_OPERATOR: (None, "?")}
        before, behind = signs.get(cursor.kind, ("(", ")"))
        for child in cursor.get_children():
            begin, end = self.range(child)
            if not child.kind.is_expression() or begin >= end or \
                    self.source.follows(end)[1] != behind or \
                    (before and self.source.precedes(begin) != before):
                continue
            self.source.add("condition", begin, end, f"!({self.source.text(begin, end)})")
            if cursor.kind == CursorKind.IF_STMT:
                self.source.add("condition", begin, end, "true")
            if cursor.kind != CursorKind.CONDITIONAL_OPERATOR:
                self.source.add("condition", begin, end, "false")
            return

    def exchange_arguments(self, cursor):
        ranges = [self.range(argument) for argument in cursor.get_arguments() if argument]
        if SYMMETRIC.match(cursor.spelling):
            ranges = ranges[1:]
        for (begin, end), (next_begin, next_end) in zip(ranges, ranges[1:]):
            if not begin < end < next_begin < next_end:
                continue
            between = self.source.text(end, next_begin)
            if between.strip() == ",":
                self.source.add("arguments", begin, next_end,
                                self.source.text(next_begin, next_end) + between +
                                self.source.text(begin, end))

    def change_return(self, cursor):
        for value in cursor.get_children():
            begin, end = self.range(value)
            if begin >= end or self.source.follows(end)[1] != ";":
                continue
            text = self.source.text(begin, end)
            if text in ("true", "false", "-1"):
                return  # a constant
            kind = value.type.get_canonical().kind
            if kind == TypeKind.BOOL:
                self.source.add("return", begin, end, f"!({text})")
            elif kind == TypeKind.POINTER:
                self.source.add("return", begin, end, "nullptr")
            elif kind in (TypeKind.INT, TypeKind.UINT, TypeKind.LONG, TypeKind.ULONG):
                self.source.add("return", begin, end, "-1" if text == "0" else f"({text}) + 1")

    def change_constant(self, cursor):
        begin, end = self.range(cursor)
        text = self.source.text(begin, end)
        if text in ("true", "false"):
            self.source.add("constant", begin, end, "false" if text == "true" else "true")
        elif LETTER.match(text):
            self.source.add("constant", begin, end, f"'{chr(ord(text[1]) + 1)}'")
        elif number := INTEGER.match(text):
            digits, suffix = number.groups()
            value = int(digits, 8 if re.match(r"0\d", digits) else 0)
            shown = hex if digits[:2].lower() == "0x" else str
            for other in (value + 1, value - 1):
                if other >= 0:
                    self.source.add("constant", begin, end, shown(other) + suffix)

    def remove_statement(self, cursor):
        begin, end = self.range(cursor)
        kind = cursor.kind
        is_lock = kind == CursorKind.DECL_STMT and any(
            LOCK_TYPE.search(child.type.spelling) for child in cursor.get_children())
        if is_lock:
            self.source.add("lock", begin, end, "")
            return
        if kind == CursorKind.RETURN_STMT:
            if next(cursor.get_children(), None) is not None:
                return
        elif not kind.is_expression() and kind not in (CursorKind.BREAK_STMT,
                                                       CursorKind.CONTINUE_STMT,
                                                       CursorKind.DO_STMT,
                                                       CursorKind.NULL_STMT):
            return
        if macro := re.match(r"[A-Z][A-Z_]+\(", self.source.text(begin, begin + 40)):
            end = self.closing(begin + macro.end())
        elif kind in (CursorKind.DO_STMT, CursorKind.NULL_STMT):
            return
        at, sign = self.source.follows(end)
        if sign == ";" and end > begin:
            text = self.source.text(begin, end)
            self.source.add("lock" if LOCK_CALL.match(text) else "statement", begin, at + 1, ";")

    def closing(self, begin):
        """Behind the bracket that closes the one before the place."""
        depth = 1
        quoted = False
        at = begin
        while depth and at < len(self.source.bytes):
            sign = self.source.bytes[at:at + 1]
            if quoted and sign == b"\\":
                at += 1
            elif sign == b'"':
                quoted = not quoted
            elif not quoted:
                depth += {b"(": 1, b")": -1}.get(sign, 0)
            at += 1
        return at


def find(repository, build, names):
    """The mutants of the named files, in the order of their places. The compile commands in the
    build folder say how each source is read; headers are read with the sources that include them."""
    sources = {str(repository / name): Source(name, repository / name) for name in names}
    finder = Finder(sources)
    index = clang.cindex.Index.create()
    for command in json.loads((build / "compile_commands.json").read_text()):
        path = command["file"]
        if path not in sources and not path.startswith(
                tuple(str(repository / folder) + "/" for folder in FOLDERS)):
            continue
        if "html5_video_objects.dir" not in command["command"]:
            continue
        flags = re.findall(r"(?:^|\s)((?:-I|-D|-std=)\S+)", command["command"])
        finder.walk(index.parse(path, flags).cursor)
    mutants = [mutant for source in sources.values() for mutant in source.mutants.values()]
    return sorted(mutants, key=lambda mutant: (mutant.source, mutant.begin, mutant.end, mutant.new))


def library_files(repository, paths):
    """The library's sources and headers, or those of them that are or lie below one of the paths."""
    names = []
    for folder in FOLDERS:
        for path in sorted((repository / folder).iterdir()):
            name = str(path.relative_to(repository))
            wanted = not paths or any(pathlib.PurePath(name).is_relative_to(p) for p in paths)
            if path.suffix in (".cpp", ".h") and wanted:
                names.append(name)
    return names
