"""The small changes that a test suite should notice, found in one source file."""

import dataclasses
import re


@dataclasses.dataclass(frozen=True)
class Mutation:
    """One change of one place."""

    path: str
    line: int  # from 1
    start: int  # columns of what is replaced
    end: int
    text: str  # what it is replaced with

    def apply(self, source: str) -> str:
        lines = source.split("\n")
        old = lines[self.line - 1]
        lines[self.line - 1] = old[: self.start] + self.text + old[self.end :]
        return "\n".join(lines)

    def describe(self, source: str) -> str:
        old = source.split("\n")[self.line - 1]
        new = old[: self.start] + self.text + old[self.end :]
        return f"{self.path}:{self.line}: {old.strip()}  ->  {new.strip()}"

    def key(self, source: str) -> str:
        """Names the change without its line number, so that it survives edits elsewhere."""
        return self.describe(source).replace(f":{self.line}:", ":", 1)


# Spaces around an operator keep templates, pointers and references out: the formatter sets them.
_SWAPS = [
    (r"(?<= )<=(?= )", "<"), (r"(?<= )>=(?= )", ">"),
    (r"(?<= )<(?= )", "<="), (r"(?<= )>(?= )", ">="),
    (r"(?<= )==(?= )", "!="), (r"(?<= )!=(?= )", "=="),
    (r"(?<= )\+(?= )", "-"), (r"(?<= )-(?= )", "+"),
    (r"(?<= )\*(?= )", "/"), (r"(?<= )/(?= )", "*"), (r"(?<= )%(?= )", "*"),
    (r"(?<= )\+=(?= )", "-="), (r"(?<= )-=(?= )", "+="),
    (r"\+\+", "--"), (r"(?<![-\w])--(?=\w)", "++"),
    (r"(?<= )&&(?= )", "||"), (r"(?<= )\|\|(?= )", "&&"),
    (r"!(?=[\w(])", ""),
    (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
]
_NUMBER = re.compile(r"(?<![\w.'])\d[\d']*(?:\.\d+)?(?![\w.'])")
_STRING = re.compile(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])\'')


def _code_of(line: str) -> str:
    """The line with strings and comments blanked out, columns unchanged."""
    line = _STRING.sub(lambda match: '"' * len(match.group()), line)
    comment = line.find("//")
    return line if comment < 0 else line[:comment].ljust(len(line))


def _other_number(text: str) -> str:
    """One more; of what counts in tens, twice as much: nobody sees a millisecond of a hundred."""
    number = text.replace("'", "")
    value = float(number) if "." in number else int(number)
    return str(value + 1 if value < 10 else value * 2)


def mutations_of(path: str, source: str) -> list[Mutation]:
    """Every change that is tried in this file, one at a time."""
    found = []
    is_comment = False
    for number, line in enumerate(source.split("\n"), start=1):
        if "/*" in line:
            is_comment = True
        if not is_comment and not line.lstrip().startswith("#"):
            code = _code_of(line)
            for pattern, text in _SWAPS:
                for match in re.finditer(pattern, code):
                    found.append(Mutation(path, number, match.start(), match.end(), text))
            for match in _NUMBER.finditer(code):
                found.append(Mutation(path, number, match.start(), match.end(),
                                      _other_number(match.group())))
        if "*/" in line:
            is_comment = False
    return found
