"""The small changes that can be made to the sources, found in clang's view of them."""

import os
import re
import subprocess
import sys

import clang.cindex
from clang.cindex import CursorKind, TokenKind, TypeKind

OPERATORS = {
    "==": ["!="], "!=": ["=="], "<": ["<=", ">="], ">": [">=", "<="], "<=": ["<", ">"],
    ">=": [">", "<"], "&&": ["||"], "||": ["&&"], "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"],
    "%": ["/"], "&": ["|"], "|": ["&"], "^": ["&"], "<<": [">>"], ">>": ["<<"], "+=": ["-="],
    "-=": ["+="], "*=": ["/="], "/=": ["*="], "|=": ["&="], "&=": ["|="], "++": ["--"],
    "--": ["++"], "!": [""], "~": [""],
}
IN_EXPRESSIONS = {
    CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR, CursorKind.UNARY_OPERATOR,
    CursorKind.CALL_EXPR, CursorKind.DECL_REF_EXPR, CursorKind.OVERLOADED_DECL_REF,
    CursorKind.CXX_UNARY_EXPR,
}
SHIFTS = {CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR}
REMOVABLE = {
    CursorKind.CALL_EXPR, CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR,
    CursorKind.UNARY_OPERATOR, CursorKind.CXX_THROW_EXPR, CursorKind.CXX_DELETE_EXPR,
    CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT, CursorKind.UNEXPOSED_EXPR,
    CursorKind.PAREN_EXPR,
}
CONDITIONAL = {CursorKind.IF_STMT: -1, CursorKind.WHILE_STMT: -1, CursorKind.DO_STMT: None,
               CursorKind.CONDITIONAL_OPERATOR: 0}
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.FUNCTION_TEMPLATE,
             CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR}
NOT_LOOKED_INTO = {CursorKind.STATIC_ASSERT}


class Mutation:
    """One change of one file."""

    def __init__(self, file, function, text, start, end, replacement):
        self.file, self.start, self.end, self.replacement = file, start, end, replacement
        self.place = f"{file}: {function}" if function else file
        self.number = 0
        self.line = text.count(b"\n", 0, start) + 1
        begin = text.rfind(b"\n", 0, start) + 1
        finish = text.find(b"\n", end)
        self.before = " ".join(text[begin:finish].decode().split())
        self.after = " ".join((text[begin:start] + replacement.encode() +
                               text[end:finish]).decode().split())

    def key(self):
        """What names it in the list of survivors, wherever the line moves."""
        return self.place, self.before, self.after

    def apply(self, text):
        return text[:self.start] + self.replacement.encode() + text[self.end:]

    def __str__(self):
        return f"{self.number}  {self.place}, line {self.line}\n  -{self.before}\n  +{self.after}"


class Finder:
    """Finds the mutations of one file."""

    def __init__(self, name, unit):
        self.name = name
        with open(name, "rb") as file:
            self.text = file.read()
        self.found = {}
        self.skipped = []
        self.functions = []
        self.walk(unit.cursor)
        self.look_at_tokens(unit)

    def add(self, start, end, replacement):
        if any(begin <= start < finish for begin, finish in self.skipped):
            return
        around = [name for begin, finish, name in self.functions if begin <= start < finish]
        mutation = Mutation(self.name, around[-1] if around else "", self.text, start, end,
                            replacement)
        self.found.setdefault((start, end, replacement), mutation)

    def source(self, cursor):
        return self.text[cursor.extent.start.offset:cursor.extent.end.offset].decode()

    def walk(self, cursor):
        for child in cursor.get_children():
            place = child.location.file
            if place is None or os.path.normpath(place.name) != self.name:
                if child.kind != CursorKind.UNEXPOSED_DECL and place is not None:
                    continue
            if child.kind in NOT_LOOKED_INTO:
                self.skipped.append((child.extent.start.offset, child.extent.end.offset))
                continue
            if child.kind in FUNCTIONS:
                self.functions.append((child.extent.start.offset, child.extent.end.offset,
                                       child.spelling))
            self.look_at(child)
            self.walk(child)

    def look_at(self, cursor):
        children = list(cursor.get_children())
        if cursor.kind == CursorKind.COMPOUND_STMT:
            for statement in children:
                self.remove(statement)
        elif cursor.kind == CursorKind.CASE_STMT and children:
            self.remove(children[-1])
        elif cursor.kind in CONDITIONAL:
            self.negate_condition(cursor, children)
        elif cursor.kind == CursorKind.CALL_EXPR:
            self.swap_arguments(cursor)

    def remove(self, statement):
        """Statements of use for what they do, and objects of use for their life time alone."""
        start, end = statement.extent.start.offset, statement.extent.end.offset
        if statement.kind in REMOVABLE:
            self.add(start, end, "")
        elif statement.kind == CursorKind.RETURN_STMT and not list(statement.get_children()):
            self.add(start, end, "")
        elif statement.kind == CursorKind.DECL_STMT:
            variables = list(statement.get_children())
            name = variables[0].spelling if len(variables) == 1 else ""
            rest = self.text[end:]
            scope = rest[:rest.find(b"\n}")]
            if (name and variables[0].kind == CursorKind.VAR_DECL and
                    not re.search(rb"\b" + name.encode() + rb"\b", scope)):
                self.add(start, end, "")

    def negate_condition(self, cursor, children):
        if cursor.kind == CursorKind.DO_STMT:
            condition = children[-1]
        elif cursor.kind == CursorKind.CONDITIONAL_OPERATOR:
            condition = children[0]
        else:
            # The last expression before the first statement.
            branch = next(index for index, child in enumerate(children)
                          if child.kind.is_statement() and child.kind != CursorKind.DECL_STMT)
            condition = children[branch - 1]
        text = self.source(condition)
        # Comparisons and negations are turned round as operators already.
        if text and not text.startswith("!") and not (
                re.search(r" (==|!=|<|>|<=|>=) ", text) and
                not re.search(r"&&|\|\|", text)):
            self.add(condition.extent.start.offset, condition.extent.end.offset, f"!({text})")

    def swap_arguments(self, call):
        arguments = [argument for argument in call.get_arguments() if argument is not None]
        if not self.source(call).endswith(")") or call.spelling in ("min", "max"):
            return
        for left, right in zip(arguments, arguments[1:]):
            first, second = self.source(left), self.source(right)
            ends_before = left.extent.end.offset <= right.extent.start.offset
            if (first and second and first != second and ends_before and
                    not first.startswith("[") and not second.startswith("[") and
                    (is_template(call) or may_stand_for(left.type, right.type))):
                between = self.text[left.extent.end.offset:right.extent.start.offset].decode()
                if between.strip() == ",":
                    self.add(left.extent.start.offset, right.extent.end.offset,
                             second + between + first)

    def look_at_tokens(self, unit):
        for token in unit.get_tokens(extent=unit.cursor.extent):
            start, end = token.extent.start.offset, token.extent.end.offset
            line_start = self.text.rfind(b"\n", 0, start) + 1
            if self.text[line_start:start].lstrip().startswith(b"#") or b"extern \"C\"" in \
                    self.text[line_start:self.text.find(b"\n", start)]:
                continue
            if token.kind == TokenKind.PUNCTUATION and token.cursor.kind in IN_EXPRESSIONS:
                self.change_operator(token, start, end)
            elif token.kind == TokenKind.LITERAL and token.cursor.kind != CursorKind.CXX_METHOD:
                for replacement in changed_literals(token.spelling):
                    self.add(start, end, replacement)
            elif token.kind == TokenKind.KEYWORD and token.spelling in ("true", "false"):
                self.add(start, end, "false" if token.spelling == "true" else "true")

    def change_operator(self, token, start, end):
        operator = token.spelling
        # << into a stream is no shift. What has no blanks round it is no operator of two sides, but
        # a pointer, a reference, a sign or the bracket of template arguments.
        if operator in ("<<", ">>") and token.cursor.kind not in SHIFTS:
            return
        around = self.text[start - 1:start] + self.text[end:end + 1]
        if operator in "&*+-<>" and around.strip():
            return
        for replacement in OPERATORS.get(operator, []):
            self.add(start, end, replacement)


def is_template(call):
    """A call whose arguments may have any type, such as the pieces of a log line."""
    called = call.referenced
    return called is None or (
        clang.cindex.conf.lib.clang_getSpecializedCursorTemplate(called) is not None)


def may_stand_for(left, right):
    """Whether values of the two types can be exchanged without the compiler minding."""
    left, right = left.get_canonical(), right.get_canonical()
    numbers = range(TypeKind.BOOL.value, TypeKind.LONGDOUBLE.value + 1)
    return (left.spelling.replace("const ", "") == right.spelling.replace("const ", "") or
            left.kind.value in numbers and right.kind.value in numbers)


def changed_literals(literal):
    if literal.endswith('"'):
        return [literal[:-1] + '?"']
    if literal.startswith("'"):
        return ["'#'"] if literal != "'#'" else ["'$'"]
    number = re.fullmatch(r"((?:0[xX][0-9a-fA-F']+|[0-9']+))([uUlL]*)", literal)
    if not number:
        return []
    value = int(number[1].replace("'", ""), 0)
    return [f"{value + 1}{number[2]}"] + ([f"0{number[2]}"] if value > 1 else [])


def of_tree(scratch):
    """All mutations of src/, numbered in the order of files and places."""
    subprocess.run(["cmake", "--preset", "mutation", "-B", scratch], check=True,
                   stdout=subprocess.DEVNULL)
    database = clang.cindex.CompilationDatabase.fromDirectory(scratch)
    commands = {os.path.relpath(command.filename): list(command.arguments)
                for command in database.getAllCompileCommands()}
    sources = sorted(name for name in commands if name.startswith("src/"))
    includes = sorted({argument for name in sources for argument in commands[name]
                       if argument.startswith("-I")})
    headers = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "src/*.h"],
                             check=True, capture_output=True, text=True).stdout.split()
    index = clang.cindex.Index.create()
    everything = []
    for name in sorted(sources + headers):
        unit = index.parse(name, args=["-x", "c++", "-std=c++20", *includes])
        errors = [problem for problem in unit.diagnostics if problem.severity >= 3]
        if errors:
            sys.exit(f"clang cannot read {name}: {errors[0]}")
        finder = Finder(name, unit)
        everything += [finder.found[place] for place in sorted(finder.found)]
    for number, mutation in enumerate(everything, 1):
        mutation.number = number
    return everything
