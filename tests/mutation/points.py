"""Finds the places of a source that can be changed by one small step, and writes a source with all changes in it.

A place is found in the syntax tree (libclang), so that only code that runs is changed: nothing that is evaluated while
compiling, no declaration, no table at namespace scope.
"""

import os
import re
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass, field
from pathlib import Path

from clang.cindex import CursorKind, Diagnostic, Index, TypeKind


# In the root folder: a name beside the sources would find them by another path.
UNIT = "/unit.cpp"
SELECTED = "::varoMutation::on"
# The outermost first, where several changes concern the same text.
RANKS = {"swap": 0, "drop": 1, "negate": 2, "logic": 3, "compare": 4, "arithmetic": 5, "constant": 6}

BOUNDARY = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
EQUALITY = {"==": "!=", "!=": "=="}
LOGIC = {"&&": "||", "||": "&&"}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "&": "|", "|": "&", "^": "&", "<<": ">>", ">>": "<<"}
ASSIGNMENT = {"+=": "-=", "-=": "+=", "|=": "&=", "&=": "|=", "<<=": ">>=", ">>=": "<<=", "*=": "+="}

SCOPES = {CursorKind.NAMESPACE, CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL, CursorKind.CLASS_TEMPLATE,
          CursorKind.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION, CursorKind.FRIEND_DECL, CursorKind.LINKAGE_SPEC,
          CursorKind.UNEXPOSED_DECL, CursorKind.TRANSLATION_UNIT}
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR,
             CursorKind.CONVERSION_FUNCTION, CursorKind.FUNCTION_TEMPLATE}
NOT_RUN = {CursorKind.STATIC_ASSERT, CursorKind.TYPE_ALIAS_DECL, CursorKind.TYPEDEF_DECL, CursorKind.PARM_DECL,
           CursorKind.CXX_UNARY_EXPR, CursorKind.USING_DECLARATION, CursorKind.TYPE_REF, CursorKind.TEMPLATE_REF,
           CursorKind.TYPE_ALIAS_TEMPLATE_DECL}
INTEGRAL = {TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.CHAR16, TypeKind.CHAR32, TypeKind.USHORT, TypeKind.UINT,
            TypeKind.ULONG, TypeKind.ULONGLONG, TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.SHORT, TypeKind.INT,
            TypeKind.LONG, TypeKind.LONGLONG}


def squeeze(text):
    return " ".join(text.split())


@dataclass
class Point:
    """One change: `write(render)` gives the new text of [start, end); `render(a, b)` gives a part of it, with the
    changes inside."""

    file: str
    start: int
    end: int
    line: int
    function: str
    kind: str
    original: str
    replacement: str
    write: object = field(repr=False)
    number: int = 0
    occurrence: int = 1

    @property
    def change(self):
        return f"{self.original} -> {self.replacement}" if self.replacement else self.original

    @property
    def key(self):
        """Names the change whatever line it is on."""
        nth = f" #{self.occurrence}" if self.occurrence > 1 else ""
        return f"{self.file} :: {self.function} :: {self.kind} :: {self.change}{nth}"


class Finder:
    def __init__(self, root, name, declarations):
        self.name = name
        self.path = Path(root) / name
        self.text = self.path.read_bytes().decode("latin-1")
        self.points = {}
        self.kept = set()
        self.function = ""
        self.scope(declarations, [])

    # -- the tree ---------------------------------------------------------------------------------------------------

    def here(self, cursor):
        at = cursor.extent.start
        return at.file is not None and at.file.name == str(self.path)

    @staticmethod
    def span(cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def source(self, start, end):
        return self.text[start:end]

    def scope(self, declarations, names):
        for child in declarations:
            if not self.here(child):
                continue
            if child.kind in FUNCTIONS:
                self.body_of(child, names)
            elif child.kind in SCOPES:
                self.scope(child.get_children(), names + [child.spelling] if child.spelling else names)

    def body_of(self, function, names):
        children = list(function.get_children())
        if not children or children[-1].kind not in (CursorKind.COMPOUND_STMT, CursorKind.CXX_TRY_STMT):
            return
        head = self.source(self.span(function)[0], self.span(children[-1])[0])
        if re.search(r"\b(constexpr|consteval)\b", head):
            return
        parent, before = function.semantic_parent, []
        while parent is not None and parent.kind != CursorKind.TRANSLATION_UNIT:
            if parent.kind != CursorKind.NAMESPACE and parent.spelling:
                before.insert(0, re.sub(r"<.*", "", parent.spelling))
            parent = parent.semantic_parent
        outer, self.function = self.function, "::".join(before + [re.sub(r"<.*", "", function.spelling)])
        for child in children:
            self.code(child, function)
        self.function = outer

    def code(self, cursor, parent):
        """Walks what runs. `parent` is null where the value is not changed by itself."""
        kind = cursor.kind
        if kind in NOT_RUN or not self.here(cursor):
            return
        if kind in FUNCTIONS:
            self.body_of(cursor, [])
            return
        if kind in SCOPES:
            self.scope(cursor.get_children(), [])
            return
        start, end = self.span(cursor)
        children = list(cursor.get_children())
        if kind == CursorKind.VAR_DECL:
            head = self.source(max(self.text.rfind(";", 0, start), self.text.rfind("{", 0, start)) + 1, end)
            if re.match(r"[^=({]*\b(constexpr|constinit)\b", head):
                return
            # What stands before the name belongs to the type.
            children = [c for c in children
                        if self.span(c)[0] > cursor.location.offset and not self.is_array_size(c)]
        elif kind == CursorKind.LAMBDA_EXPR:
            body = children[-1] if children else None
            if body is not None and re.search(r"\bconstexpr\b", self.source(start, self.span(body)[0])):
                return
        elif kind == CursorKind.CASE_STMT:
            children = children[1:]
        elif kind == CursorKind.IF_STMT:
            children = self.if_statement(cursor, children)
        elif kind in (CursorKind.WHILE_STMT, CursorKind.DO_STMT):
            condition = children[0] if kind == CursorKind.WHILE_STMT else children[-1]
            if condition.kind.is_expression():
                self.condition(condition)
        elif kind == CursorKind.FOR_STMT:
            self.for_statement(cursor, children)
        elif kind == CursorKind.CONDITIONAL_OPERATOR:
            self.condition(children[0])
        elif kind == CursorKind.RETURN_STMT and children:
            if children[0].type.get_canonical().kind == TypeKind.BOOL:
                self.condition(children[0], whole=False)
        elif kind == CursorKind.INTEGER_LITERAL:
            if parent is not None and parent.kind not in (CursorKind.DECL_REF_EXPR, CursorKind.MEMBER_REF_EXPR):
                self.integer(cursor)
        elif kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            text = self.source(start, end)
            if text in ("true", "false"):
                other = "false" if text == "true" else "true"
                self.add(start, end, "constant", text, other, lambda r, n: f"({SELECTED}({n}) ? {other} : {text})")
        elif kind == CursorKind.CHARACTER_LITERAL:
            text = self.source(start, end)
            if re.fullmatch(r"'.'|'\\.'", text):
                self.add(start, end, "constant", text, f"{text} + 1",
                         lambda r, n: f"static_cast<char>({SELECTED}({n}) ? {text} + 1 : {text})")
        elif kind in (CursorKind.BINARY_OPERATOR, CursorKind.CALL_EXPR, CursorKind.UNEXPOSED_EXPR):
            self.operator(cursor, children)
        elif kind == CursorKind.COMPOUND_ASSIGNMENT_OPERATOR:
            self.assignment(cursor, children)
        elif kind == CursorKind.UNARY_OPERATOR:
            self.step(cursor, children)
        if kind == CursorKind.COMPOUND_STMT:
            self.statements(children)
        if kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.FOR_STMT, CursorKind.CXX_FOR_RANGE_STMT):
            for child in children:
                if child.kind.is_expression() and self.text[self.span(child)[1]:].lstrip().startswith(";") and \
                        self.closed_before(cursor, child):
                    self.drop(child)
        for child in children:
            self.code(child, cursor)

    def is_array_size(self, cursor):
        start, end = self.span(cursor)
        return self.text[:start].rstrip().endswith("[") and self.text[end:].lstrip().startswith("]")

    def parenthesis(self, start):
        """The offsets of the parenthesis that opens behind `start` and of the one that closes it."""
        opening = self.text.index("(", start)
        depth, at = 0, opening
        while True:
            c = self.text[at]
            if c in "\"'":
                at = re.compile(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\'').match(self.text, at).end() - 1
            elif c == "(":
                depth += 1
            elif c == ")":
                depth -= 1
                if depth == 0:
                    return opening, at
            at += 1

    def closed_before(self, statement, child):
        return self.parenthesis(self.span(statement)[0])[1] < self.span(child)[0]

    def if_statement(self, cursor, children):
        start = self.span(cursor)[0]
        opening, closing = self.parenthesis(start)
        behind = [c for c in children if self.span(c)[0] > closing]
        if "constexpr" in self.source(start, opening):
            return behind
        inside = [c for c in children if self.span(c)[0] < closing]
        declared = [c for c in inside if c.kind == CursorKind.VAR_DECL]
        if declared and ";" not in self.source(opening, closing):
            name = declared[0].spelling
            head = squeeze(self.source(opening + 1, closing))
            self.add(opening + 1, closing, "negate", head, f"!({name})",
                     lambda r, n: f"{r(opening + 1, closing)}; {SELECTED}({n}) != static_cast<bool>({name})")
        elif not declared and inside and inside[-1].kind.is_expression():
            self.condition(inside[-1])
        return children

    def for_statement(self, cursor, children):
        opening, closing = self.parenthesis(self.span(cursor)[0])
        # Initialisers have no nested statements here, so the first semicolon ends them.
        first = self.text.index(";", opening)
        second = self.text.index(";", first + 1)
        for child in children:
            if child.kind.is_expression() and first < self.span(child)[0] < second and second < closing:
                self.condition(child)

    # -- the changes ------------------------------------------------------------------------------------------------

    def add(self, start, end, kind, original, replacement, write):
        key = (start, end, kind, replacement)
        if key not in self.points:
            line = self.text.count("\n", 0, start) + 1
            self.points[key] = Point(self.name, start, end, line, self.function, kind, squeeze(original),
                                     squeeze(replacement), write)

    def parts(self, cursor, children):
        """Operator and operands of a binary operation, built in or not; None when it is none."""
        ends = sorted((self.span(c) for c in children), key=lambda s: s)
        if len(ends) < 2:
            return None
        start, end = self.span(cursor)
        left, right = ends[0], ends[-1]
        if left[0] != start or right[1] != end or left[1] >= right[0]:
            return None
        between = self.source(left[1], right[0]).strip()
        return (between, left, right) if re.fullmatch(r"[-+*/%&|^<>=!]+", between) else None

    def condition(self, cursor, whole=True):
        """Negates a condition. Equalities and operands of && and || are negated where they stand."""
        start, end = self.span(cursor)
        text = self.source(start, end)
        inner = cursor
        while inner.kind in (CursorKind.UNEXPOSED_EXPR, CursorKind.PAREN_EXPR):
            children = list(inner.get_children())
            if len(children) != 1:
                break
            inner = children[0]
        if inner.kind in (CursorKind.CXX_BOOL_LITERAL_EXPR, CursorKind.INTEGER_LITERAL):
            return
        parts = self.parts(inner, list(inner.get_children()))
        operator = parts[0] if parts else ""
        if operator in EQUALITY:
            return
        if not whole and (operator in BOUNDARY or operator in LOGIC):
            return
        self.add(start, end, "negate", text, f"!({text})",
                 lambda r, n: f"({SELECTED}({n}) != static_cast<bool>({r(start, end)}))")

    def operator(self, cursor, children):
        parts = self.parts(cursor, children)
        if parts is None:
            return
        operator, left, right = parts
        start, end = self.span(cursor)
        if operator in BOUNDARY and any(c.type.get_canonical().kind == TypeKind.RECORD for c in children):
            # Perhaps the result of <=>, which compares with the literal 0 alone.
            self.kept.add(right)
        text = self.source(start, end)

        def with_operator(other):
            return f"{self.source(*left)} {other} {self.source(*right)}"

        def either(other):
            return lambda r, n: (f"({SELECTED}({n}) ? ({r(*left)} {other} {r(*right)}) : "
                                 f"({r(*left)} {operator} {r(*right)}))")

        if operator in EQUALITY:
            self.add(start, end, "compare", text, with_operator(EQUALITY[operator]),
                     lambda r, n: f"({SELECTED}({n}) != ({r(*left)} {operator} {r(*right)}))")
        elif operator in BOUNDARY:
            self.add(start, end, "compare", text, with_operator(BOUNDARY[operator]), either(BOUNDARY[operator]))
        elif operator in LOGIC and cursor.kind != CursorKind.CALL_EXPR:
            self.add(start, end, "logic", text, with_operator(LOGIC[operator]), either(LOGIC[operator]))
            for child in children:
                self.condition(child, whole=False)
        elif operator in ARITHMETIC and cursor.kind == CursorKind.BINARY_OPERATOR and self.are_numbers(children):
            self.add(start, end, "arithmetic", text, with_operator(ARITHMETIC[operator]),
                     either(ARITHMETIC[operator]))

    @staticmethod
    def are_numbers(cursors):
        return all(c.type.get_canonical().kind in INTEGRAL for c in cursors)

    def assignment(self, cursor, children):
        start, end = self.span(cursor)
        left, right = self.span(children[0]), self.span(children[-1])
        operator = self.source(left[1], right[0]).strip()
        if operator in ASSIGNMENT and self.are_numbers(children):
            other = ASSIGNMENT[operator]
            self.add(start, end, "arithmetic", self.source(start, end),
                     f"{self.source(*left)} {other} {self.source(*right)}",
                     lambda r, n: (f"({SELECTED}({n}) ? ({r(*left)} {other} {r(*right)}) : "
                                   f"({r(*left)} {operator} {r(*right)}))"))

    def step(self, cursor, children):
        """Counts the other way."""
        start, end = self.span(cursor)
        text = self.source(start, end)
        operator = text[:2]
        if operator in ("++", "--") and self.are_numbers(children):
            other = "--" if operator == "++" else "++"
            operand = self.span(children[0])
            self.add(start, end, "arithmetic", text, other + text[2:],
                     lambda r, n: f"({SELECTED}({n}) ? {other}{r(*operand)} : {operator}{r(*operand)})")

    def integer(self, cursor):
        start, end = self.span(cursor)
        text = self.source(start, end)
        match = re.fullmatch(r"(0[xX][0-9a-fA-F']+|[0-9][0-9']*)([uUlL]*)", text)
        # In braces a computed value may narrow.
        braced = self.text[:start].rstrip().endswith("{") and self.text[end:].lstrip().startswith("}")
        if match and not braced and (start, end) not in self.kept:
            self.add(start, end, "constant", text, f"{text} + 1",
                     lambda r, n: f"({SELECTED}({n}) ? {text} + 1 : {text})")

    # -- statements ---------------------------------------------------------------------------------------------------

    def drop(self, cursor):
        start, end = self.span(cursor)
        text = self.source(start, end)
        if cursor.kind == CursorKind.CXX_THROW_EXPR or re.match(r"(throw|return|co_)\b", text) or "__" in text[:2]:
            return
        if any(c.kind == CursorKind.CXX_THROW_EXPR for c in cursor.get_children()):
            return
        # No conditional operator of type void: clang++ 14 fails on one whose operands do nothing.
        self.add(start, end, "drop", text, "",
                 lambda r, n: f"void({SELECTED}({n}) || (void({r(start, end)}), true))")

    def is_statement(self, cursor):
        return (self.here(cursor) and cursor.kind.is_expression() and
                self.text[self.span(cursor)[1]:].lstrip().startswith(";"))

    def has_call(self, cursor):
        return cursor.kind == CursorKind.CALL_EXPR or any(self.has_call(c) for c in cursor.get_children())

    def statements(self, children):
        taken = False
        for index, first in enumerate(children):
            if not self.is_statement(first):
                taken = False
                continue
            self.drop(first)
            second = children[index + 1] if index + 1 < len(children) else None
            if taken or second is None or not self.is_statement(second):
                taken = False
                continue
            taken = self.swap(first, second)

    def swap(self, first, second):
        a, b = self.span(first), self.span(second)
        texts = self.source(*a), self.source(*b)
        if any(re.match(r"throw\b", t) for t in texts):
            return False
        shared = set(re.findall(r"[A-Za-z_]\w*", texts[0])) & set(re.findall(r"[A-Za-z_]\w*", texts[1]))
        # Two plain assignments to different things may stand in any order.
        if not shared and not (self.has_call(first) and self.has_call(second)):
            return False
        end = self.text.index(";", b[1]) + 1
        if "#" in self.source(a[0], end):
            return False
        self.add(a[0], end, "swap", f"{texts[0]}; {texts[1]};", f"{texts[1]}; {texts[0]};",
                 lambda r, n: (f"if ({SELECTED}({n})) {{ {r(*b)}; {r(*a)}; }} else {{ {r(*a)}; {r(*b)}; }}"))
        return True


def parse(root, names):
    """The outermost declarations of one unit that includes these files, by the file they are in."""
    # Included, not parsed as the main file: there `#pragma once` does not count.
    text = "".join(f'#include "{name}"\n' for name in names)
    arguments = ["-x", "c++", "-std=c++20", "-DNDEBUG", f"-I{root}"]
    unit = Index.create().parse(UNIT, args=arguments, unsaved_files=[(UNIT, text)])
    for problem in unit.diagnostics:
        if problem.severity >= Diagnostic.Error:
            raise RuntimeError(str(problem))
    declarations = {}
    for child in unit.cursor.get_children():
        if child.location.file is not None:
            declarations.setdefault(child.location.file.name, []).append(child)
    return declarations


def find(root, names):
    """All points of these files. Numbers are given file by file, so that a change in one leaves the others'."""
    headers = [name for name in names if name.endswith(".h")]
    sources = [name for name in names if name not in headers]
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        together, *apart = pool.map(lambda unit: parse(root, unit), [headers, *([name] for name in sources)])
    units = dict(zip(sources, apart))
    points = []
    for name in names:
        declarations = units.get(name, together)
        found = Finder(root, name, declarations.get(str(Path(root) / name), []))
        points += sorted(found.points.values(), key=lambda p: (p.start, -p.end, RANKS[p.kind]))
    counts, numbers = {}, {}
    for point in points:
        first = numbers.setdefault(point.file, names.index(point.file) * 1000)
        point.number = numbers[point.file] = first + 1
        same = (point.file, point.function, point.kind, point.change)
        counts[same] = point.occurrence = counts.get(same, 0) + 1
    return points


def rewrite(text, points):
    """The text of one file with all these changes in it, each behind its switch."""
    points = sorted(points, key=lambda p: (p.start, -p.end, RANKS[p.kind]))

    def render(start, end, inside):
        out, at, index = [], start, 0
        while index < len(inside):
            point = inside[index]
            index += 1
            if point.start < at or point.end > end:
                raise RuntimeError(f"{point.key} crosses another change")
            nested = []
            while index < len(inside) and inside[index].start < point.end:
                nested.append(inside[index])
                index += 1

            def part(a, b, nested=nested):
                return render(a, b, [p for p in nested if p.start >= a and p.end <= b])

            out.append(text[at:point.start])
            out.append(point.write(part, point.number))
            at = point.end
        out.append(text[at:end])
        return "".join(out)

    return render(0, len(text), points)
