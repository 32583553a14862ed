"""Finds the mutations (small changes) of the sources, in clang's syntax tree."""

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
CALCULATIONS = {CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR}
IN_EXPRESSIONS = CALCULATIONS | {
    CursorKind.UNARY_OPERATOR, CursorKind.CALL_EXPR, CursorKind.DECL_REF_EXPR,
    CursorKind.OVERLOADED_DECL_REF, CursorKind.CXX_UNARY_EXPR,
}
REMOVABLE = CALCULATIONS | {
    CursorKind.UNARY_OPERATOR, CursorKind.CALL_EXPR, CursorKind.CXX_THROW_EXPR,
    CursorKind.CXX_DELETE_EXPR, CursorKind.BREAK_STMT, CursorKind.CONTINUE_STMT,
    CursorKind.UNEXPOSED_EXPR, CursorKind.PAREN_EXPR,
}
CONDITIONAL = {CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.DO_STMT,
               CursorKind.CONDITIONAL_OPERATOR}
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.FUNCTION_TEMPLATE,
             CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR}


class Mutation:
    """One change of one file."""

    def __init__(self, file, function, text, start, end, replacement):
        self.file, self.number = file, 0
        self.place = f"{file}: {function}" if function else file
        self.line = text.count("\n", 0, start) + 1
        self.mutated = text[:start] + replacement + text[end:]
        begin, rest = text.rfind("\n", 0, start) + 1, text.find("\n", end) - len(text)
        self.before = " ".join(text[begin:rest].split())
        self.after = " ".join(self.mutated[begin:rest].split())

    def key(self):
        """Identifies the mutation in the list of survivors, independent of line numbers."""
        return self.place, self.before, self.after

    def __str__(self):
        return f"{self.number}  {self.place}, line {self.line}\n  -{self.before}\n  +{self.after}"


def span(element):
    return element.extent.start.offset, element.extent.end.offset


class Finder:
    """Finds the mutations of one file."""

    def __init__(self, name, unit):
        self.name = name
        with open(name, encoding="ascii") as file:  # clang counts bytes
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
        self.found.setdefault((start, end, replacement),
                              Mutation(self.name, around[-1] if around else "", self.text, start,
                                       end, replacement))

    def source(self, cursor):
        return self.text[slice(*span(cursor))]

    def walk(self, cursor):
        for child in cursor.get_children():
            file = child.location.file
            if file is not None and os.path.normpath(file.name) != self.name and \
                    child.kind != CursorKind.UNEXPOSED_DECL:
                continue
            if child.kind == CursorKind.STATIC_ASSERT:
                self.skipped.append(span(child))
                continue
            if child.kind in FUNCTIONS:
                self.functions.append((*span(child), child.spelling))
            self.look_at(child, list(child.get_children()))
            self.walk(child)

    def look_at(self, cursor, children):
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
        """Removes statements that only have side effects, and objects that only matter by their lifetime."""
        start, end = span(statement)
        inside = list(statement.get_children())
        rest = self.text[end:]
        scope = rest[:rest.find("\n}")]
        if (statement.kind in REMOVABLE or
                statement.kind == CursorKind.RETURN_STMT and not inside or
                statement.kind == CursorKind.DECL_STMT and len(inside) == 1 and
                inside[0].kind == CursorKind.VAR_DECL and
                not re.search(rf"\b{inside[0].spelling}\b", scope)):
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
        # Comparisons and negations are already mutated as operators.
        if text and not text.startswith("!") and (
                "&&" in text or "||" in text or not re.search(r" ([=!]=|<=?|>=?) ", text)):
            self.add(*span(condition), f"!({text})")

    def swap_arguments(self, call):
        arguments = [argument for argument in call.get_arguments() if argument is not None]
        if not self.source(call).endswith(")") or call.spelling in ("min", "max"):
            return
        for left, right in zip(arguments, arguments[1:]):
            (start, left_end), (right_start, end) = span(left), span(right)
            first, second = self.source(left), self.source(right)
            between = self.text[left_end:right_start]
            if (first and second and first != second and between.strip() == "," and
                    not first.startswith("[") and not second.startswith("[") and
                    (is_template(call) or may_stand_for(left.type, right.type))):
                self.add(start, end, second + between + first)

    def look_at_tokens(self, unit):
        for token in unit.get_tokens(extent=unit.cursor.extent):
            start, end = span(token)
            line_start = self.text.rfind("\n", 0, start) + 1
            line = self.text[line_start:self.text.find("\n", start)]
            if line.lstrip().startswith("#") or 'extern "C"' in line:
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
        # << into a stream is not a shift. Without blanks around it, it is not a binary operator, but a
        # pointer, a reference, a sign or the bracket of template arguments.
        around = self.text[start - 1] + self.text[end]
        if operator in ("<<", ">>") and token.cursor.kind not in CALCULATIONS or \
                operator in "&*+-<>" and around.strip():
            return
        for replacement in OPERATORS.get(operator, []):
            self.add(start, end, replacement)


def is_template(call):
    """A call whose arguments may have any type, such as the pieces of a log line."""
    called = call.referenced
    return called is None or (
        clang.cindex.conf.lib.clang_getSpecializedCursorTemplate(called) is not None)


def may_stand_for(left, right):
    """Whether values of the two types can be swapped without a compiler error."""
    left, right = left.get_canonical(), right.get_canonical()
    numbers = range(TypeKind.BOOL.value, TypeKind.LONGDOUBLE.value + 1)
    return (left.spelling.replace("const ", "") == right.spelling.replace("const ", "") or
            left.kind.value in numbers and right.kind.value in numbers)


def changed_literals(literal):
    if literal.endswith('"'):
        return [literal[:-1] + '?"']
    if literal.startswith("'"):
        return ["'#'"] if literal != "'#'" else ["'$'"]
    number = re.fullmatch(r"(0[xX][0-9a-fA-F']+|[0-9']+)([uUlL]*)", literal)
    if not number:
        return []
    value = int(number[1].replace("'", ""), 0)
    return [f"{value + 1}{number[2]}"] + ([f"0{number[2]}"] if value > 1 else [])


def of_tree(scratch):
    """All mutations of src/, numbered by file and position."""
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
