"""C++ source as the mutations need it: tokens, the name of what each stands in, statements.

No parser of the language, but one of this tree's style, which clang-format keeps: a binary operator has a
blank on either side and a template's bracket has none. What it takes for something else does not compile and
is not counted.
"""

import bisect
import re
from dataclasses import dataclass, field

TOKEN = re.compile(
    r"""
    (?P<blank>(?:\s|\\\n)+)
  | (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<text>"(?:\\.|[^"\\\n])*")
  | (?P<char>'(?:\\.|[^'\\\n])*')
  | (?P<number>0[xX][0-9a-fA-F]+[uUlL]*|\d+[uUlL]*)
  | (?P<name>[A-Za-z_]\w*)
  | (?P<sign><<=|>>=|\.\.\.|->|::|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|[^\s\w])
    """,
    re.VERBOSE | re.DOTALL,
)
DIRECTIVE = re.compile(r"[ \t]*#[ \t]*(\w+)(?:[ \t]+(\w+)(\([^)]*\))?)?")


@dataclass
class Token:
    kind: str  # text, char, number, name, sign
    text: str
    start: int
    end: int
    scope: str = ""  # the function, variable, type or macro that it stands in
    fixed: bool = False  # in an assertion of the compiler, or in the head of a template


@dataclass
class Statement:
    kind: str  # simple, return, if, other
    first: int  # tokens, both included
    last: int
    condition: tuple = ()  # of an if: its first and last token
    plain_if: bool = False  # an if without an else


@dataclass
class Source:
    text: str
    tokens: list = field(default_factory=list)
    statements: list = field(default_factory=list)
    neighbours: list = field(default_factory=list)  # pairs of statements, one behind the other
    line_starts: list = field(default_factory=list)

    def line_of(self, offset):
        return bisect.bisect_right(self.line_starts, offset)

    def code_lines(self):
        return len({self.line_of(token.start) for token in self.tokens})


def read(text):
    """The tokens of a file, without comments and directives, each with its scope; the statements of its
    functions."""
    source = Source(text)
    source.line_starts = [0] + [i + 1 for i, c in enumerate(text) if c == "\n"]
    _tokenize(source)
    body = [i for i, token in enumerate(source.tokens) if not token.scope]
    _Declarations(source, body).read()
    _mark_fixed(source.tokens)
    return source


def _tokenize(source):
    text, at, line_begins = source.text, 0, True
    while at < len(text):
        directive = DIRECTIVE.match(text, at) if line_begins else None
        if directive:
            end = _end_of_directive(text, at)
            if directive[1] == "define" and directive[2]:
                _add_tokens(source, directive.end(), end, directive[2])
            at = end
            continue
        match = TOKEN.match(text, at)
        if match.lastgroup not in ("blank", "comment"):
            source.tokens.append(Token(match.lastgroup, match[0], match.start(), match.end()))
        if match.lastgroup == "blank":
            line_begins = "\n" in match[0]
        else:
            line_begins = line_begins and match.lastgroup == "comment"
        at = match.end()


def _end_of_directive(text, at):
    while True:
        end = text.find("\n", at)
        if end < 0:
            return len(text)
        if text[end - 1] != "\\":
            return end
        at = end + 1


def _add_tokens(source, at, end, scope):
    while at < end:
        match = TOKEN.match(source.text, at, end)
        if match.lastgroup not in ("blank", "comment"):
            source.tokens.append(Token(match.lastgroup, match[0], match.start(), match.end(), scope))
        at = match.end()


def _mark_fixed(tokens):
    for i, token in enumerate(tokens):
        if token.text == "template" and i + 1 < len(tokens) and tokens[i + 1].text == "<":
            _fix(tokens, i + 1, "<", ">")
        elif token.text == "static_assert" or token.text.startswith(("QIR_STATIC_ASSERT", "QIR_PIN_")):
            if i + 1 < len(tokens) and tokens[i + 1].text == "(":
                _fix(tokens, i + 1, "(", ")")
        elif token.scope.startswith(("QIR_STATIC_ASSERT", "QIR_PIN_")):
            token.fixed = True


def _fix(tokens, i, opening, closing):
    depth = 0
    while i < len(tokens):
        depth += (tokens[i].text == opening) - (tokens[i].text == closing)
        tokens[i].fixed = True
        if depth == 0:
            return
        i += 1


PAIRS = {"(": ")", "[": "]", "{": "}"}


class _Declarations:
    """Goes through namespaces and types; what stands in them gets its name."""

    def __init__(self, source, body):
        self.source = source
        self.tokens = source.tokens
        self.body = body  # indexes of the tokens that are no macro's

    def text(self, at):
        return self.tokens[self.body[at]].text if at < len(self.body) else ""

    def read(self):
        self.members(0, len(self.body), "")

    def close_of(self, at):
        """The position of the bracket that closes the one at `at`."""
        closing, depth = PAIRS[self.text(at)], 0
        opening = self.text(at)
        for i in range(at, len(self.body)):
            depth += (self.text(i) == opening) - (self.text(i) == closing)
            if depth == 0:
                return i
        return len(self.body) - 1

    def name(self, first, last, scope):
        for i in range(first, min(last + 1, len(self.body))):
            self.tokens[self.body[i]].scope = scope

    def members(self, at, end, outer):
        while at < end:
            at = self.member(at, end, outer)

    def member(self, first, end, outer):
        """One declaration or definition; the position behind it."""
        at = first
        while at < end:
            text = self.text(at)
            if text == ";":
                self.name(first, at, self.join(outer, self.declared(first, at)))
                return at + 1
            if text in ("(", "["):
                at = self.close_of(at) + 1
                continue
            if text == "{":
                close = self.close_of(at)
                head = [self.text(i) for i in range(self.behind_template(first), at)]
                if "namespace" in head or (head[:1] == ["extern"] and len(head) == 2):
                    self.name(first, at, outer)
                    self.members(at + 1, close, outer)
                    return close + 1
                if "=" not in head and "(" not in head and {"struct", "class", "union", "enum"} & set(head):
                    scope = self.join(outer, self.type_name(head))
                    self.name(first, close, scope)
                    if "enum" not in head:
                        self.members(at + 1, close, scope)
                    at = close + 1  # up to the semicolon, which a typedef's name may precede
                    while at < end and self.text(at) != ";":
                        at += 1
                    self.name(close, at, scope)
                    return at + 1
                if "=" not in head and "(" in head:
                    scope = self.join(outer, self.declared(first, at))
                    self.name(first, close, scope)
                    self.block(at + 1, close)
                    return close + 1
                at = close + 1
                continue
            at += 1
        return end

    def behind_template(self, at):
        """The position behind the head of a template, if one begins here."""
        if self.text(at) != "template":
            return at
        depth = 0
        for i in range(at + 1, len(self.body)):
            depth += (self.text(i) == "<") - (self.text(i) == ">")
            if depth == 0:
                return i + 1
        return at

    @staticmethod
    def join(outer, name):
        return f"{outer}::{name}" if outer and name and not outer.startswith("(") else name or outer

    def declared(self, first, last):
        """What a declaration declares: the name in front of its first round bracket, or of its value."""
        angle, found = 0, ""
        for i in range(first, last):
            text = self.text(i)
            token = self.tokens[self.body[i]]
            angle += (text == "<") - (text == ">")
            if text in ("=", "{") or (text == "(" and angle == 0):
                break
            if text == "[" and found:
                break
            if token.kind == "name" and angle == 0:
                found = text
        return found

    @staticmethod
    def type_name(head):
        for i, word in enumerate(head):
            if word in ("struct", "class", "union", "enum"):
                rest = [w for w in head[i + 1 :] if w not in ("class", "struct")]
                return rest[0] if rest else ""
        return ""

    # ---- Functions ----------------------------------------------------------------------------------

    def block(self, at, end):
        previous = None
        while at < end:
            statement, at = self.statement(at, end)
            if statement is None:
                previous = None
                continue
            self.source.statements.append(statement)
            if previous is not None:
                self.source.neighbours.append((previous, statement))
            previous = statement

    def add(self, kind, first, last, **more):
        return Statement(kind, self.body[first], self.body[last], **more)

    def statement(self, at, end):
        """The statement at a position, or None for a label, and the position behind it."""
        text = self.text(at)
        if text in ("case", "default"):
            while self.text(at) != ":":
                at += 1
            return None, at + 1
        if text == "{":
            close = self.close_of(at)
            self.block(at + 1, close)
            return self.add("other", at, close), close + 1
        if text == "if":
            return self.if_statement(at, end)
        if text in ("for", "while", "switch"):
            opening = at + 1
            close = self.close_of(opening)
            behind = self.nested(close + 1, end)
            return self.add("other", at, behind - 1), behind
        if text == "do":
            behind = self.nested(at + 1, end)
            while self.text(behind) != ";":
                behind += 1
            return self.add("other", at, behind), behind + 1
        return self.simple(at, end)

    def nested(self, at, end):
        statement, behind = self.statement(at, end)
        if statement is not None:
            self.source.statements.append(statement)
        return behind

    def if_statement(self, at, end):
        opening = at + 1
        constant = self.text(opening) == "constexpr"
        if constant:
            opening += 1
        close = self.close_of(opening)
        first = opening + 1
        for i in range(opening + 1, close):  # behind `if (init;`
            if self.text(i) == ";":
                first = i + 1
        behind = self.nested(close + 1, end)
        plain = self.text(behind) != "else"
        if not plain:
            behind = self.nested(behind + 1, end)
        condition = () if constant else (self.body[first], self.body[close - 1])
        return self.add("if", at, behind - 1, condition=condition, plain_if=plain and not constant), behind

    def simple(self, at, end):
        first = at
        while at < end and self.text(at) != ";":
            if self.text(at) in ("(", "["):
                close = self.close_of(at)
                self.lambdas(at, close)
                at = close + 1
            elif self.text(at) == "{":
                close = self.close_of(at)
                self.lambdas(at - 1, close)
                at = close + 1
            else:
                at += 1
        kind = "return" if self.text(first) == "return" else "simple"
        return self.add(kind, first, min(at, len(self.body) - 1)), at + 1

    def lambdas(self, first, last):
        """The bodies of the lambdas between two positions: blocks behind a bracket."""
        at = first
        while at < last:
            if self.text(at) == "{" and self.text(at - 1) in (")", "]", "mutable"):
                close = self.close_of(at)
                self.block(at + 1, close)
                at = close
            at += 1
