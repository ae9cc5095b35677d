"""The mutations that a source file offers."""

import re
from dataclasses import dataclass

import source as cxx

SWAPPED = {
    "comparison": {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="},
    "logic": {"&&": "||", "||": "&&"},
    "arithmetic": {
        **{"+": "-", "-": "+", "<<": ">>", ">>": "<<", "|": "&", "&": "|"},
        **{"+=": "-=", "-=": "+=", "|=": "&=", "&=": "|="},
    },
}
STEPS = {"++": "--", "--": "++"}
CONSTANT = re.compile(r"(?:QIR|QEL|AS|MAX|E)_[A-Z0-9_]+$")
# The first word of a statement that declares something: to drop it is to use what is not there.
DECLARING = {"const", "constexpr", "constinit", "static", "using", "typename", "typedef", "auto", "struct",
             "union"}
DECLARATION = re.compile(r"[A-Za-z_][\w:]*(?:<[^;=()]*>)?(?: (?:\*|&|\*const )?|(?: [*&]+))"  # type
                         r"[A-Za-z_]\w*(?:\[[^=]*\])?(?: =|;|\{| ?\[)")  # name


# What returns nothing already, or is another site.
ALREADY_NOTHING = {"", "e_RET_OK", "nullptr", "true", "false", "static_cast<u32>(e_RET_OK)",
                   "QIR_END(e_RET_OK)", "QIR_END_AS(fn, e_RET_OK)"}


@dataclass
class Site:
    """One mutation of one file."""

    path: str
    function: str
    kind: str
    line: int
    start: int  # of the bytes that are replaced
    end: int
    replacement: str
    before: str = ""  # the lines concerned, as they are and as the mutation makes them
    after: str = ""
    occurrence: int = 1  # among the same changes to the same lines in one function

    @property
    def identity(self):
        return (self.path, self.function, self.before, self.after, self.occurrence)


class Names:
    """What the whole tree says about names: enumerations, and constants that are numbers."""

    NUMBER = re.compile(r"constexpr (?:u8|u16|u32|i32|uint32_t|size_t) (k[A-Z]\w*) =")
    ENUM = re.compile(r"\benum\b[^;{]*\{(.*?)\}", re.DOTALL)
    COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.DOTALL)

    def __init__(self, texts):
        self.next_of, self.numbers = {}, set()
        for text in texts:
            plain = self.COMMENT.sub("", text)
            self.numbers.update(self.NUMBER.findall(plain))
            for body in self.ENUM.findall(plain):
                names = [match[1] for match in re.finditer(r"(?:^|,)\s*(\w+)", body)]
                if len(names) > 1:
                    self.next_of.update(zip(names, names[1:] + names[:1]))
                else:
                    self.numbers.update(names)


def find(path, text, names):
    """All sites of a file, each with its identity."""
    src = cxx.read(text)
    sites = []

    def add(kind, first, last, replacement):
        start, end = src.tokens[first].start, src.tokens[last].end
        scope = src.tokens[first].scope
        sites.append(Site(path, scope, kind, src.line_of(start), start, end, replacement))

    for i, token in enumerate(src.tokens):
        if not token.fixed:
            _token_sites(src, i, token, names, add)
    for statement in src.statements:
        _statement_sites(src, statement, add)
    for one, other in src.neighbours:
        _order_sites(src, one, other, add)
    sites.sort(key=lambda site: (site.start, site.end, site.kind, site.replacement))
    seen = {}
    for site in sites:
        _show(src, site)
        key = (site.function, site.before, site.after)
        seen[key] = site.occurrence = seen.get(key, 0) + 1
    return sites, src.code_lines()


def _show(src, site):
    """The lines concerned, without their margins."""
    start = src.text.rfind("\n", 0, site.start) + 1
    end = src.text.find("\n", site.end)
    end = len(src.text) if end < 0 else end
    mutated = src.text[start : site.start] + site.replacement + src.text[site.end : end]
    site.before = _one_line(src.text[start:end])
    site.after = _one_line(mutated)


def _one_line(text):
    return " ".join(line.strip().removesuffix("\\").strip() for line in text.split("\n")).strip()


def _token_sites(src, i, token, names, add):
    tokens = src.tokens
    before = tokens[i - 1].text if i > 0 else ""
    after = tokens[i + 1].text if i + 1 < len(tokens) else ""
    if token.kind == "sign":
        apart = src.text[token.start - 1].isspace() and src.text[token.end : token.end + 1].isspace()
        if apart:
            for kind, swapped in SWAPPED.items():
                if token.text in swapped and before != "operator":
                    add(kind, i, i, swapped[token.text])
        elif token.text in STEPS:
            add("arithmetic", i, i, STEPS[token.text])
        elif token.text == "!" and before != "operator":
            add("negation", i, i, "")
    elif token.kind == "number":
        for replacement in _other_numbers(token.text):
            add("constant", i, i, replacement)
    elif token.kind == "text" and before != "extern":
        for replacement in _other_texts(token.text):
            add("text", i, i, replacement)
    elif token.kind == "name":
        if token.text in ("true", "false"):
            add("constant", i, i, "false" if token.text == "true" else "true")
        elif after in ("(", "=", "{") or before in ("case", "enum", "struct", "#"):
            pass
        elif CONSTANT.match(token.text) or token.text in names.numbers:
            if not _declares(src, token):
                for other in (f"{token.text} + 1", f"{token.text} - 1"):
                    add("constant", i, i, other if before == "::" else f"({other})")
        elif token.text in names.next_of and not _declares(src, token):
            add("name", i, i, names.next_of[token.text])


def _declares(src, token):
    """Is this the declaration of an enumerator without a value?"""
    line = src.text[src.text.rfind("\n", 0, token.start) + 1 : token.start]
    return not line.strip() and src.text[token.end : token.end + 1] in (",", "\n") and "enum" in token.scope


def _other_numbers(text):
    digits = text.rstrip("uUlL")
    suffix = text[len(digits) :]
    base = 16 if digits[:2] in ("0x", "0X") else 10
    value = int(digits, base)
    for other in (value + 1, value - 1):
        if other >= 0:
            shown = f"0x{other:0{len(digits) - 2}X}" if base == 16 else str(other)
            yield shown + suffix


def _other_texts(text):
    """One character in the middle of what is no conversion and no escape, and the end of a line."""
    plain = []
    for piece in re.finditer(r"\\.|%[-0-9.]*[a-z%]|.", text[1:-1]):
        if len(piece[0]) == 1:
            plain.append(1 + piece.start())
    if plain:
        for at in {plain[0], plain[len(plain) // 2], plain[-1]}:
            other = "_" if text[at] != "_" else "-"
            yield text[:at] + other + text[at + 1 :]
    if text.endswith('\\n"'):
        yield text[:-3] + '"'


def _statement_sites(src, statement, add):
    tokens = src.tokens
    first, last = statement.first, statement.last
    if tokens[first].fixed or tokens[first].text == "static_assert":
        return
    if statement.kind == "if" and statement.condition:
        start, end = statement.condition
        signs = {token.text for token in tokens[start : end + 1]}
        condition = src.text[tokens[start].start : tokens[end].end]
        if signs & {"&&", "||"} or not signs & {"!", "==", "!="}:  # one of those alone is a site itself
            add("negation", start, end, f"!({condition})")
    elif statement.kind == "return":
        value = src.text[tokens[first].end : tokens[last].start].strip()
        if value not in ALREADY_NOTHING and not re.fullmatch(r"\d+u?", value):
            add("return", first, last, "return {};")
        elif value == "e_RET_OK":
            add("return", first, last, "return e_RET_ERR_INVALID_PARAM;")
        elif value == "":
            add("statement", first, last, ";")
    elif statement.kind == "simple":
        text = src.text[tokens[first].start : tokens[last].end]
        if tokens[first].text not in DECLARING and not DECLARATION.match(text) and first != last:
            add("statement", first, last, ";")


def _returns(src, statement):
    """Is it a check: an if without else whose last statement returns?"""
    if not (statement.kind == "if" and statement.plain_if):
        return False
    body = src.text[src.tokens[statement.first].start : src.tokens[statement.last].end]
    return re.search(r"return [^;]*;\s*\}$", body) is not None


def _order_sites(src, one, other, add):
    if _returns(src, one) and _returns(src, other):
        tokens = src.tokens
        middle = src.text[tokens[one.last].end : tokens[other.first].start]
        if middle.strip():
            return  # a comment belongs to one of them
        texts = [src.text[tokens[s.first].start : tokens[s.last].end] for s in (one, other)]
        add("order", one.first, other.last, texts[1] + middle + texts[0])
