#!/usr/bin/env python3
"""Lets Doxygen read the headers as people do: docs_filter.py HEADER prints the header with its comments in Doxygen's
form, line for line. Of README.md it makes the main page, and headings of documents can be linked to ("#limits",
"docs/formats.md#text").

- The comment at the top is the file's; its indented lines are code. The class that a header is named after
  (ip_addr.h, CIpAddr) is described there unless it has a comment of its own.
- A comment holds for the declaration below it, and for those that follow at once and are the same in another form:
  overloads, and the other of GetX and SetX or of a pair like that. Between "/// @{" and "/// @}" it holds for all. One at the end of a
  declaration's line belongs to that declaration.
- "// --- name ---" in a class begins a group of members, and the lines below it are the group's description.
- Specialisations of the standard library's templates are left out.
- Copies, moves and destructors without a comment are as the class's comment says; they and what is deleted are left
  out.
"""
import os
import re
import sys

SCOPE = re.compile(r"^(?:template\s*<.*?>\s*)?(?:inline\s+)?(?:typedef\s+)?(?:namespace|class|struct|union|enum)\b")
TYPE = re.compile(r"^(?:template\s*<.*?>\s*)?(?:class|struct|union|enum)\b")
PAIR = re.compile(r"^(Get|Set|Is|Load|Save|Register|Unregister)?(Min|Max)?(?=[A-Z]|$)")
NO_DOCS = re.compile(r"^(?:static_assert|friend class|friend struct|extern template|#|using namespace)")


def top_comment(lines):
    """The file's comment, one line longer for @file: it takes the line of #pragma once."""
    out, code = ["/** @file"], False
    for i, line in enumerate(lines):
        text = line[2:]
        is_code = text.startswith("   ")
        if not text.strip() and code and any(l[2:].strip() for l in lines[i:]):
            following = next(l[2:] for l in lines[i:] if l[2:].strip())
            is_code = following.startswith("   ")
        if is_code and not code:
            out[-1] += " @code{.unparsed}" if len(out) > 1 else ""
        text = text[3:] if is_code else text.strip()
        if code and not is_code:
            text = "@endcode " + text
        out.append(text.replace("*/", "* /").replace("/*", "/ *") if is_code else escape(text))
        code = is_code
    out[-1] += " @endcode */" if code else " */"
    return out


def escape(text):
    """Prose: angle brackets are no tags, and a backslash is one."""
    if "@endcode" in text:
        return "@endcode " + escape(text.replace("@endcode", "").strip())
    parts = text.split("`")
    for i in range(0, len(parts), 2):
        parts[i] = re.sub(r'([\\@<>#&%])', r"\\\1", parts[i])
    if len(parts) % 2:
        for i in range(1, len(parts), 2):
            parts[i] = "<tt>" + re.sub(r'([\\@<>#&%])', r"\\\1", parts[i]) + "</tt>"
    return "".join(parts) if len(parts) % 2 else text


def strip(line):
    """The line without literals and comments, and its trailing comment."""
    code = re.sub(r"u?R\"\((.*?)\)\"", '""', line)
    code = re.sub(r'"(?:\\.|[^"\\])*"', '""', code)
    code = re.sub(r"'(?:\\.|[^'\\])'", "''", code)
    place = code.find("//")
    if place < 0:
        return code.rstrip(), None
    comment = code[place:]
    return code[:place].rstrip(), line[len(line) - len(comment):] if line.endswith(comment) else comment


class Filter:
    def __init__(self, path):
        self.path = re.sub(r"^.*?/(?=(?:platform|util)/[\w/]+\.h$)", "", path)
        self.stem = path.rsplit("/", 1)[-1][:-2].replace("_", "")
        self.scopes = []  # "namespace", "class", "enum", or "body" for everything else in braces
        self.parens = 0
        self.statement = ""
        self.run = None  # the comment that holds for the declarations to come
        self.fresh = False  # the comment stands on the lines above, nothing has been declared since
        self.name = None  # what the comment was first said of
        self.all = False  # between "@{" and "@}"
        self.group = False
        self.out = []

    def in_scope(self):
        return "body" not in self.scopes

    def leave_group(self):
        if self.group:
            self.group = False
            return "/** @} */ "
        return ""

    def comment_block(self, block, after):
        """A block of whole-line comments."""
        indent = block[0][: len(block[0]) - len(block[0].lstrip())]
        texts = [re.sub(r"^//[/!]?<? ?", "", line.strip()) for line in block]
        if texts[0] == "@}":
            self.run, self.all = None, False
            self.out.append("")
            return self.comment_block(block[1:], after) if len(block) > 1 else None
        section = re.match(r"^-{3,} (.*?) -{3,}$", texts[0])
        if section and self.scopes and self.scopes[-1] == "class":
            close = self.leave_group()
            self.run, self.group = None, True
            # The blank line behind the comment, or the comment's own last line, opens the group.
            body = [escape(t) for t in texts[1:]]
            self.out.append(close + "/** @name " + escape(section[1]))
            self.out += body
            return "@{ */" if not after.strip() else None
        if section or not after.strip() or re.match(r"\s*(public|private|protected):|\s*}", after):
            self.run = None
            self.out += block
            return None
        self.all = texts[-1] == "@{"
        if self.all:
            texts[-1] = ""
        self.run, self.fresh, self.name = " ".join(escape(t) for t in texts), True, None
        self.out += [indent + "/// " + escape(t) if t else indent + "///" for t in texts]
        return None

    def declaration(self, line, code, comment):
        """A line of code in a place for declarations, or of a declaration that goes on."""
        begins = not self.statement.strip() and self.in_scope()
        if comment and self.in_scope() and not comment.startswith("///<") and re.search(r"[;,]$|[\w)\"]$", code):
            if self.scopes and self.scopes[-1] in ("class", "enum") and not self.parens:
                line = line[: len(line) - len(comment)] + "///< " + escape(comment.lstrip("/ "))
                comment = "///<"
        prefix = ""
        if begins and code.strip():
            stripped = code.strip()
            special = self.is_special(stripped)
            documented = comment and comment.startswith("///<")
            if special and (not self.fresh or "= delete" in stripped) and not documented:
                self.fresh = False
                self.statement = ""
                return self.cond(line, code)
            name = self.name_of(self.following if stripped.startswith("template <") else stripped)
            if self.fresh:
                self.name = name
            elif self.run is not None and not documented:
                if not self.all and (TYPE.match(stripped) or name is None or name != self.name):
                    self.run = None
                elif not NO_DOCS.match(stripped) and self.scopes[-1:] != ["enum"]:
                    prefix = "/** " + self.run + " */ "
            if not prefix and not self.fresh and re.search(r"operator(==|<=>)\(.*= default;", stripped):
                prefix = "/** Member by member. */ "
            if TYPE.match(stripped) and self.run is None and not stripped.endswith(";"):
                name = re.search(r"(?:class|struct)\s+(?:Z\w+_API\s+)?(\w+)", stripped)
                if name and self.stem in (name[1].lower(), re.sub(r"_t$", "", name[1].lower()[1:] if name[1][0] in "CI" else name[1]).replace("_", "").lower()):
                    prefix = "/** @copydoc " + self.path + " */ "
            self.fresh = False
        self.advance(code)
        return prefix + line

    @staticmethod
    def name_of(code):
        """The name of a function; those of a pair are one."""
        match = re.search(r"\b(operator\s*\W+?|operator [\w: ]+|\w+)(?:<[^()]*>)?\s*\(", re.sub(r"^requires\(.*?\) ", "", code))
        return re.sub(PAIR, "", match[1].strip()) if match else None

    @staticmethod
    def is_special(code):
        if re.match(r"(virtual )?~\w+\(", code) or "= delete" in code:
            return True
        return bool(re.match(r"(?:constexpr |explicit )*(\w+)\((?:const )?\1&&?(?: \w+)?\)", code) or
                    re.match(r"(?:constexpr )?(\w+)& operator=\((?:const )?\1&&?(?: \w+)?\)", code))

    def cond(self, line, code):
        self.hiding = True
        self.advance(code)
        return "/** @cond */ " + line + self.end_cond()

    def end_cond(self):
        if getattr(self, "hiding", False) and not self.statement.strip() and self.in_scope():
            self.hiding = False
            return " /** @endcond */"
        return ""

    def advance(self, code):
        for char in code:
            if char == "(":
                self.parens += 1
            elif char == ")":
                self.parens -= 1
            elif char == "{":
                head = self.statement.strip()
                kind = "body"
                if SCOPE.match(head) and not self.parens and self.in_scope():
                    kind = "namespace" if re.match(r"(inline )?namespace", head) else (
                        "enum" if re.search(r"\benum\b", head) else "class")
                self.scopes.append(kind)
                if kind != "body":
                    self.statement = ""
                    self.run = None
                    continue
            elif char == "}":
                kind = self.scopes.pop() if self.scopes else "body"
                if kind != "body":
                    self.statement = "}" if kind != "namespace" else ""
                    self.run = None
                    continue
                if self.in_scope() and not self.parens and re.search(r"\)[^=]*$|^operator", self.statement.split("{")[0]):
                    self.statement = ""
                    continue
            elif char == ";" and self.in_scope() and not self.parens:
                self.statement = ""
                continue
            elif char == "," and self.scopes[-1:] == ["enum"] and not self.parens:
                self.statement = ""
                continue
            if char == ":" and re.match(r"\s*(public|private|protected)$", self.statement):
                self.statement = ""
                self.run = None
                continue
            self.statement += char
        if self.statement:
            self.statement += " "

    def filter(self, lines):
        top = 0
        while top < len(lines) and lines[top].startswith("//"):
            top += 1
        rest = top
        if top and lines[top].startswith("#pragma once"):
            self.out += top_comment(lines[:top])
            rest = top + 1
        pending = None
        i = rest
        while i < len(lines):
            line = lines[i]
            code, comment = strip(line)
            if line.lstrip().startswith("//") and not self.statement.strip() and self.in_scope():
                end = i
                while end < len(lines) and lines[end].lstrip().startswith("//"):
                    end += 1
                pending = self.comment_block(lines[i:end], lines[end] if end < len(lines) else "")
                i = end
                if pending:
                    self.out.append(pending)
                    i += 1
                continue
            if line == "template <>" and lines[i + 1].startswith("struct std::"):
                while lines[i] != "};":
                    self.out.append("")
                    i += 1
                line, code, comment = "", "", None
            if line.startswith("#"):
                if re.match(r"#define", line) and self.run and not self.fresh:
                    line = "/** " + self.run + " */ " + line
                self.fresh = False
                self.out.append(line)
                while line.endswith("\\"):
                    i += 1
                    line = lines[i]
                    self.out.append(line)
                i += 1
                continue
            if not line.strip():
                if not self.statement.strip() and self.in_scope() and not self.all:
                    self.run = None
                self.out.append(line)
            else:
                close = ""
                if self.in_scope() and not self.statement.strip() and self.scopes[-1:] == ["class"]:
                    if re.match(r"\s*(public|private|protected):", line) or line.startswith("};"):
                        close = self.leave_group()
                if getattr(self, "hiding", False):
                    self.advance(code)
                    self.out.append(line + self.end_cond())
                else:
                    self.following = next((l for l in lines[i + 1 :] if "(" in l and not l.lstrip().startswith("requires")), "")
                    self.out.append(close + self.declaration(line, code, comment))
            i += 1
        return "\n".join(self.out) + "\n"


def anchor(path, heading):
    """The name of a heading among those of all documents."""
    words = re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-")
    return re.sub(r"\W+", "_", path[: -len(".md")]) + "_" + words


def document(path, lines):
    """A document whose headings have names, and whose links go to these."""

    def link(match):
        target = os.path.normpath(os.path.join(os.path.dirname(path), match[1])) if match[1] else path
        return "](#" + anchor(target, match[2]) + ")"

    is_code = False
    for i, line in enumerate(lines):
        if line.startswith("```"):
            is_code = not is_code
        if is_code:
            continue
        lines[i] = re.sub(r"\]\(([\w./-]*\.md)?#([\w-]+)\)", link, line)
        if heading := re.match(r"##+ (.*?) *$", line):
            lines[i] += " {#" + anchor(path, heading[1]) + "}"
    if path == "README.md":
        lines[0] += " {#mainpage}"
    return lines


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as file:
        lines = file.read().splitlines()
    if sys.argv[1].endswith(".md"):
        print("\n".join(document(os.path.relpath(sys.argv[1]), lines)))
    else:
        sys.stdout.write(Filter(sys.argv[1]).filter(lines))
