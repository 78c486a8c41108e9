#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
# Copyright 2026 The MlagOstra authors

"""Gives Doxygen a header as it reads one: filter.py HEADER, to standard output.

- A plain comment directly before a declaration documents it. The one with which a header opens
  documents the header, and the class that is called like it unless that has one of its own.
- What says everything by itself is left out: a copy that is deleted, a destructor, a table.
- In a generated header the comment of an attribute is about all its accessors; what each of
  them does follows from its name (accessors.py).
"""

import re
import sys

from accessors import role

SCOPE = re.compile(r"\b(namespace|class|struct|union|enum)\b")
TABLE = r"static constexpr auto (attributes|constructor|operations|fields)\(\)"
# What a table is, an alias, a constant and a value's traits, is said where they are asked for.
PLAIN = re.compile(
    r"^\s*((virtual )?~\w+\(\)|.*\) (const )?(noexcept )?= (delete|default);$|" + TABLE
    + r"|(static|inline) constexpr [^()]*=|using |extern template|template<>$"
    + r"|friend (class|struct) |namespace (\w+::)*detail \{"
    + r"|static_assert|static (Ryx::)?RyxType\* _fwkType\(\))"
)
# Templates of internal constants, and functions whose declaration is documented.
OUTSIDE = re.compile(
    r"^(constexpr bool is\w+( =|<)|struct (std::hash<|\w+< .* >::)|.*\w>?::[~\w]+\()")
ENUMERATOR = re.compile(r"^\s*(\w+),?$")


def code_of(line):
    """A line without texts, characters and comments."""
    return re.sub(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])\'', "0", line).split("//")[0]


class Declarations:
    """Where declarations of a header begin and end, outside of all functions."""

    def __init__(self, lines):
        self.scopes, self.head, self.depth = [], "", 0
        # For each line: whether a declaration may begin there, and whether one ends there.
        self.begins, self.ends = [], []
        # How many braces are open after each line.
        self.levels = []
        for line in lines:
            open_ = all(self.scopes)
            self.begins.append(open_ and not self.head.strip() and self.depth == 0)
            self.read(line)
            self.ends.append(all(self.scopes) and not self.head.strip() and self.depth == 0)
            self.levels.append(len(self.scopes))

    def read(self, line):
        if line.startswith("#"):
            return
        for c in code_of(line):
            self.depth += (c in "([") - (c in ")]")
            if self.depth == 0 and c == "{":
                is_scope = SCOPE.search(self.head) and "(" not in self.head
                self.scopes.append(bool(is_scope))
                self.head = ""
            elif self.depth == 0 and c == "}":
                self.scopes.pop()
                self.head = ""
            elif self.depth == 0 and c == ";":
                self.head = ""
            else:
                self.head += c
        self.head = re.sub(r"^\s*(public|protected|private):\s*$", "", self.head)


def is_comment(line):
    return re.match(r"^\s*//( |$)", line) is not None


def documented(line):
    """A line of a comment as Doxygen's, in which nothing but a list and `code` is special."""
    space, text = line.split("//", 1)
    parts = text.split("`")
    parts[::2] = [re.sub(r"([\\<>#@]|(?<!\w)::(?=\w))", r"\\\1", part) for part in parts[::2]]
    # Numbers of two digits begin a column earlier than others, which would be another list.
    return space + "///" + re.sub(r"^ (?=\d\d\. )", "  ", "`".join(parts))


def indent(line):
    return line[: len(line) - len(line.lstrip())]


class Header:
    def __init__(self, path):
        self.path = path
        with open(path, encoding="utf-8") as file:
            self.lines = file.read().rstrip("\n").split("\n")
        self.declarations = Declarations(self.lines)
        self.is_generated = any(line.startswith("// Generated from") for line in self.lines)
        self.opening = self.find_opening()
        self.out = []

    def find_opening(self):
        """The first and the last line of the comment that the header opens with."""
        first = next(
            (i + 2 for i, l in enumerate(self.lines) if l.startswith("#define")), 0)
        last = first
        while last < len(self.lines) and is_comment(self.lines[last]):
            last += 1
        return range(first, last)

    def class_line(self):
        """Where the class that is called like the header begins, without its own comment."""
        name = self.path.rsplit("/", 1)[-1]
        pattern = re.compile(r"^(class|struct|enum class) %s\b(?!.*;$)" % re.escape(name))
        for i, line in enumerate(self.lines):
            if pattern.match(line):
                while self.lines[i - 1].startswith("template"):
                    i -= 1
                return None if is_comment(self.lines[i - 1]) else i
        return None

    def write(self):
        class_line = self.class_line()
        i = 0
        meaning = ""
        while i < len(self.lines):
            line = self.lines[i]
            if i == self.opening.start and self.opening:
                self.out.append("/// \\file")
                self.out += [documented(self.lines[k]) for k in self.opening]
                i = self.opening.stop
                continue
            if i == class_line:
                self.out += [documented(self.lines[k]) for k in self.opening]
            if not line.strip():
                meaning = ""
            if is_comment(line) and self.declarations.begins[i]:
                end = i
                while end < len(self.lines) and is_comment(self.lines[end]):
                    end += 1
                block = self.lines[i:end]
                if end < len(self.lines) and self.lines[end].strip():
                    said, meaning = self.said(block, end, meaning)
                    self.out += said
                    i = self.declaration(end, documented=True, meaning=meaning)
                else:
                    self.out += block
                    i = end
                continue
            i = self.declaration(i, documented=i == class_line, meaning=meaning)
        return "\n".join(self.out) + "\n"

    def said(self, block, i, meaning):
        """The documentation of a declaration with a comment, and what its group is about."""
        text = " ".join(line.strip(" /") for line in block)
        if not self.is_generated:
            return [documented(line) for line in block], text
        line = self.lines[i].strip()
        space = indent(block[0]) + "/// "
        if line.startswith("using ") and "Storage =" in line:
            return [space + role(line, text)], text
        if meaning and role(line, meaning) == meaning:
            return [space + meaning + " " + text], meaning
        return [documented(line) for line in block], meaning or text

    def end_of(self, i, end):
        """The last line of a declaration, with the body that it may have."""
        levels = self.declarations.levels
        while levels[end] > levels[i - 1] or not re.search(r"[;}]|// namespace", self.lines[end]):
            end += 1
        return end

    def enumerators(self, i):
        """Writes enumerators without values, each with its number; the next line."""
        number = 0
        while ENUMERATOR.match(self.lines[i]):
            self.out.append("%s/// Its number is %d." % (indent(self.lines[i]), number))
            self.out.append(self.lines[i])
            number, i = number + 1, i + 1
            while is_comment(self.lines[i]):
                self.out.append(documented(self.lines[i]))
                i += 1
        return i

    @staticmethod
    def is_plain(declaration):
        """Whether a declaration without a comment needs none."""
        if PLAIN.search(declaration[0]) or PLAIN.search(declaration[-1]):
            return True
        head = [l for l in declaration if not l.startswith("template<")]
        text = " ".join(l.strip() for l in head[:2])
        return not declaration[0].startswith(" ") and bool(OUTSIDE.search(text))

    def declaration(self, i, documented, meaning):
        """Writes what begins at a line, up to the first line of its body; the next line."""
        line = self.lines[i]
        begins = self.declarations.begins[i]
        if not begins or documented or not line.strip() or line.startswith("#"):
            self.out.append(line)
            return i + 1
        end = i
        while end < len(self.lines) - 1 and not self.declarations.ends[end] and (
                not self.declarations.begins[end + 1]):
            end += 1
        whole = self.lines[i : end + 1]
        said = role(" ".join(l.strip() for l in whole), meaning) if self.is_generated else ""
        is_alias = self.is_generated and line.strip().startswith("using ")
        if self.is_plain(whole) and not is_alias:
            end = self.end_of(i, end)
            whole = self.lines[i : end + 1]
            self.out += [indent(line) + "/// \\cond"] + whole + [indent(line) + "/// \\endcond"]
            return end + 1
        if ENUMERATOR.match(line) and "{" not in line:
            return self.enumerators(i)
        if said:
            self.out.append(indent(line) + "/// " + said)
        self.out.append(line)
        return i + 1


def main(path):
    if "." in path.rsplit("/", 1)[-1]:
        # A page, and no header.
        with open(path, encoding="utf-8") as file:
            sys.stdout.write(file.read())
    else:
        sys.stdout.write(Header(path).write())


if __name__ == "__main__":
    main(sys.argv[1])
