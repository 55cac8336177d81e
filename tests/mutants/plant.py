"""Plants faults into copies of sources: each place gets code that behaves as written unless its
number is the chosen one (mutants.h). Where and what is decided by the kinds of expressions that
libclang finds, never by hand."""

import collections
import dataclasses
import json
import pathlib
import re
import shlex

import clang.cindex
from clang.cindex import CursorKind, TypeKind

ARITHMETIC = set(range(TypeKind.BOOL.value, TypeKind.LONGDOUBLE.value + 1)) | {TypeKind.ENUM.value}
RELATIONS = {"<": "less", "<=": "lessOrEqual", ">": "greater", ">=": "greaterOrEqual"}
SUMS = {"+": "plus", "-": "minus", "*": "times"}
EXTREMES = {"std::min": "least", "qMin": "least", "std::max": "greatest", "qMax": "greatest"}
OPPOSITE = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "+": "-", "-": "+", "*": "+", "==": "!=",
            "!=": "==", "&&": "||", "||": "&&", "least": "max", "greatest": "min"}
FUNCTIONS = {CursorKind.CXX_METHOD, CursorKind.FUNCTION_DECL, CursorKind.CONSTRUCTOR,
             CursorKind.DESTRUCTOR, CursorKind.FUNCTION_TEMPLATE, CursorKind.CONVERSION_FUNCTION}
BODIES = {CursorKind.COMPOUND_STMT, CursorKind.IF_STMT, CursorKind.FOR_STMT, CursorKind.WHILE_STMT,
          CursorKind.CXX_FOR_RANGE_STMT, CursorKind.DO_STMT}
FIXED = {CursorKind.STATIC_ASSERT, CursorKind.ENUM_DECL, CursorKind.CASE_STMT}


@dataclasses.dataclass
class Mutant:
    file: str
    line: int
    function: str
    kind: str
    text: str
    offset: int
    edits: list = dataclasses.field(default_factory=list)
    key: str = ""
    number: int = 0

    @property
    def room(self):
        return self.file.split("/")[1]


class Planter:
    """Finds the mutants of one file."""

    def __init__(self, name, source):
        self.name = name
        self.source = source
        self.mutants = []
        self.depth = 0

    def text(self, cursor):
        return self.source[cursor.extent.start.offset:cursor.extent.end.offset].decode()

    def span(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def add(self, cursor, function, kind, edits, text=None):
        """Edits are (offset, side, text, until): side 1 opens and -1 closes what is nested; 0
        replaces what is there until another offset."""
        shown = re.sub(r"\s+", " ", text or self.text(cursor))
        self.mutants.append(Mutant(self.name, cursor.extent.start.line, function, kind, shown[:90],
                                   cursor.extent.start.offset,
                                   [edit + (self.depth,) for edit in edits]))

    def operator_between(self, left, right):
        start, end = left.extent.end.offset, right.extent.start.offset
        between = self.source[start:end].decode()
        match = re.fullmatch(r"(\s|\)|//.*\n)*?(\S+?)(\s|\()*", between)
        operator = re.search(r"<=|>=|==|!=|&&|\|\||[<>+*-]", between)
        if not match or not operator or match.group(2) != operator.group():
            return None, 0, 0
        return operator.group(), start + operator.start(), start + operator.end()

    def binary(self, cursor, children, function):
        left, right = children
        operator, start, end = self.operator_between(left, right)
        if operator is None:
            return
        arithmetic = all(child.type.get_canonical().kind.value in ARITHMETIC for child in children)
        (first, last), label = self.span(cursor), f"{operator} becomes {OPPOSITE[operator]}"
        if operator in ("&&", "||"):
            self.add(cursor, function, label, [
                (first, 1, "(@ON != ((@ON != static_cast<bool>(", 0),
                (start, 0, ")) " + operator + " (@ON != static_cast<bool>(", end),
                (last, -1, "))))", 0)])
        elif operator in ("==", "!="):
            self.add(cursor, function, label, [(first, 1, "(@ON != (", 0), (last, -1, "))", 0)])
        elif operator in RELATIONS:
            self.call(cursor, function, label, RELATIONS[operator], start, end)
        elif operator in SUMS and arithmetic:
            self.call(cursor, function, label, SUMS[operator], start, end)

    def call(self, cursor, function, label, name, start, end):
        first, last = self.span(cursor)
        self.add(cursor, function, label, [(first, 1, f"::mutants::{name}(@N, ", 0),
                                           (start, 0, ",", end), (last, -1, ")", 0)])

    def truth(self, cursor, function, label):
        first, last = self.span(cursor)
        self.add(cursor, function, label, [(first, 1, "(@ON != static_cast<bool>(", 0),
                                           (last, -1, "))", 0)])

    def condition(self, cursor, children, function):
        declared = [self.span(child) for child in children
                    if child.kind in (CursorKind.VAR_DECL, CursorKind.DECL_STMT)]
        for child in children:
            first, last = self.span(child)
            if not child.kind.is_expression():
                continue
            inside = any(a <= first and last <= b for a, b in declared)
            before = self.source[:first].rstrip()[-1:]
            after = self.source[last:].lstrip()[:1]
            if not inside and before in (b"(", b";") and after == b")":
                self.truth(child, function, "condition negated")
            return

    def literal(self, cursor, function):
        text = self.text(cursor)
        if re.fullmatch(r"(0x)?[0-9a-fA-F']+[uUlL]*|\d+\.\d*", text):
            first, last = self.span(cursor)
            self.add(cursor, function, "constant + 1",
                     [(first, 1, "::mutants::shifted(@N, ", 0), (last, -1, ")", 0)])
        elif text in ("true", "false"):
            self.truth(cursor, function, "constant flipped")

    def returned(self, cursor, children, function, kind):
        first, last = self.span(cursor)
        if not self.source[last:].lstrip().startswith(b";"):
            return
        end = self.source.index(b";", last) + 1
        if not children:
            self.add(cursor, function, "return dropped",
                     [(first, 1, "{ if (!@ON) { ", 0), (end, -1, " } }", 0)], "return")
            return
        value = children[0]
        if kind == TypeKind.BOOL:
            if not re.fullmatch("true|false", self.text(value)):
                self.truth(value, function, "return negated")
        elif kind != TypeKind.VOID:
            self.add(cursor, function, "return {}",
                     [(first, 1, "{ if (@ON) return {}; ", 0), (end, -1, " }", 0)])

    def statement(self, cursor, function):
        first, last = self.span(cursor)
        rest = self.source[last:]
        if not rest.lstrip().startswith(b";"):
            return
        end = self.source.index(b";", last) + 1
        self.add(cursor, function, "statement dropped",
                 [(first, 1, "{ if (!@ON) { ", 0), (end, -1, " } }", 0)])

    def extreme(self, cursor, function):
        match = re.match(r"(std::min|std::max|qMin|qMax)(<[\w:]+>)?\(", self.text(cursor))
        if not match or len(list(cursor.get_arguments())) != 2:
            return
        first = cursor.extent.start.offset
        name = EXTREMES[match.group(1)]
        self.add(cursor, function, f"{match.group(1)} becomes {OPPOSITE[name]}",
                 [(first, 0, f"::mutants::{name}{match.group(2) or ''}(@N, ", first + match.end())])

    def visit(self, cursor, function="", kind=None, lambdas=0):
        if cursor.kind in FIXED or (cursor.kind == CursorKind.VAR_DECL
                                    and "constexpr" in self.text(cursor).split("=")[0]):
            if cursor.kind != CursorKind.CASE_STMT:
                return
            children = list(cursor.get_children())[1:]
        else:
            children = list(cursor.get_children())
        if cursor.kind in FUNCTIONS:
            parent = cursor.semantic_parent
            prefix = f"{parent.spelling}::" if parent and parent.kind in (
                CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL) else ""
            function, kind = prefix + cursor.spelling, cursor.result_type.get_canonical().kind
        elif cursor.kind == CursorKind.LAMBDA_EXPR:
            kind = TypeKind.BOOL if children and "bool" in self.text(cursor).split("{")[0] else None
            lambdas += 1
        if function:
            self.look(cursor, children, function, kind)
        self.depth += 1
        for child in children:
            self.visit(child, function, kind, lambdas)
        self.depth -= 1

    def look(self, cursor, children, function, kind):
        if cursor.kind == CursorKind.BINARY_OPERATOR and len(children) == 2:
            self.binary(cursor, children, function)
        elif cursor.kind == CursorKind.IF_STMT:
            self.condition(cursor, children, function)
        elif cursor.kind == CursorKind.CONDITIONAL_OPERATOR:
            self.truth(children[0], function, "choice negated")
        elif cursor.kind in (CursorKind.INTEGER_LITERAL, CursorKind.CXX_BOOL_LITERAL_EXPR,
                             CursorKind.FLOATING_LITERAL):
            self.literal(cursor, function)
        elif cursor.kind == CursorKind.UNARY_OPERATOR and self.text(cursor).startswith("!"):
            self.truth(cursor, function, "not dropped")
        elif cursor.kind == CursorKind.RETURN_STMT and (kind is not None):
            self.returned(cursor, children, function, kind)
        elif cursor.kind == CursorKind.CALL_EXPR:
            self.extreme(cursor, function)
        if cursor.kind in BODIES:
            for child in children:
                simple = child.kind in (CursorKind.CALL_EXPR, CursorKind.UNEXPOSED_EXPR,
                                        CursorKind.BINARY_OPERATOR, CursorKind.CXX_DELETE_EXPR,
                                        CursorKind.COMPOUND_ASSIGNMENT_OPERATOR,
                                        CursorKind.UNARY_OPERATOR)
                before = self.source[:child.extent.start.offset].rstrip()
                begins = before.endswith((b";", b"{", b"}", b")", b"else", b"Q_EMIT", b":"))
                head = cursor.kind == CursorKind.FOR_STMT and child != children[-1]
                if simple and begins and not head:
                    self.statement(child, function)


def find_mutants(root, build, rooms):
    """All mutants of the rooms' sources and headers, in the order of files and places."""
    commands = {entry["file"]: entry for entry in
                json.loads((build / "compile_commands.json").read_text())}
    index = clang.cindex.Index.create()
    planters = {}
    for file, entry in sorted(commands.items()):
        relative = pathlib.Path(file).relative_to(root) if file.startswith(str(root)) else None
        if relative is None or len(relative.parts) != 3 or relative.parts[0] != "src" \
                or relative.parts[1] not in rooms:
            continue
        arguments = [word for word in shlex.split(entry["command"])[1:]
                     if word.startswith(("-I", "-D", "-std"))]
        words = shlex.split(entry["command"])
        for place, word in enumerate(words):
            if word == "-isystem":
                arguments += ["-isystem", words[place + 1]]
        unit = index.parse(file, args=arguments + ["-fPIC", "-w"])
        problems = [str(each) for each in unit.diagnostics if each.severity >= 3]
        if problems:
            raise SystemExit("libclang does not understand " + "\n".join(problems))
        visit_unit(unit, root, rooms, planters)
    mutants = []
    for name in sorted(planters):
        found = {}
        for mutant in planters[name].mutants:
            found.setdefault((mutant.offset, mutant.kind, mutant.text), mutant)
        mutants += sorted(found.values(), key=lambda each: each.offset)
    name_mutants(mutants)
    return mutants


def visit_unit(unit, root, rooms, planters):
    done = set(planters)

    def walk(cursor):
        for child in cursor.get_children():
            place = child.location.file
            if place is None or not place.name.startswith(f"{root}/src/"):
                continue
            name = str(pathlib.Path(place.name).relative_to(root))
            if name in done or name.split("/")[1] not in rooms:
                continue
            if child.kind == CursorKind.NAMESPACE:
                walk(child)
                continue
            if name not in planters:
                planters[name] = Planter(name, pathlib.Path(place.name).read_bytes())
            planters[name].visit(child)

    walk(unit.cursor)


def is_none(key):
    """Whether a mutant changes nothing: it returns what is returned."""
    return re.search(r": return \{\}: return (\{\}|0|nullptr|std::nullopt|[A-Z]\w*\(\))( #\d+)?$", key) is not None


def name_mutants(mutants):
    """A name that lasts while its function does not change, whatever is added before it."""
    seen = collections.Counter()
    for mutant in mutants:
        base = f"{mutant.file}: {mutant.function}: {mutant.kind}: {mutant.text}"
        seen[base] += 1
        mutant.key = base if seen[base] == 1 else f"{base} #{seen[base]}"


def number(mutants):
    for place, mutant in enumerate(mutants, start=1):
        mutant.number = place


def planted(source, mutants, header):
    """The source with the code of its mutants."""
    edits = []
    for mutant in mutants:
        for offset, side, text, until, depth in mutant.edits:
            text = text.replace("@ON", f"::mutants::on({mutant.number})")
            text = text.replace("@N", str(mutant.number)).encode()
            # At one place what is inside closes before what is around it, which opens first.
            turn = {-1: 0, 1: 1, 0: 2}[side]
            order = (offset, turn, -depth if side == -1 else depth)
            edits.append((order, offset, until if side == 0 else offset, text))
    result, place = [f'#include "{header}"\n#line 1\n'.encode()], 0
    for _, start, end, text in sorted(edits, key=lambda each: each[0]):
        result += [source[place:start], text]
        place = max(place, end)
    return b"".join(result + [source[place:]])
