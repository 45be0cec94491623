"""Prints the binary interface that a compiler made of the public headers, as a table of the types in namespace Kelp.

Reads the debug information of a file that includes the headers, as `readelf --debug-dump=info --wide` prints it, from
standard input. Private members count: a host's objects have them too. Typedefs are resolved, because a host knows the
types behind them.
"""
import re
import sys

ENTRY = re.compile(r"^ <([0-9a-f]+)><([0-9a-f]+)>: Abbrev Number: \d+ \((DW_TAG_\w+)\)")
ATTRIBUTE = re.compile(r"^    <[0-9a-f]+>\s+(DW_AT_\w+)\s*: ?(?:\(\w+\) ?)?(.*)")
INDIRECT = re.compile(r"^\((?:offset|indirect[^)]*): ?[^)]*\): (.*)|^\(indirect[^)]*\): (.*)")
RECORDS = {"DW_TAG_class_type": "class", "DW_TAG_structure_type": "struct", "DW_TAG_union_type": "union"}
NAMED = (*RECORDS, "DW_TAG_namespace", "DW_TAG_enumeration_type", "DW_TAG_typedef", "DW_TAG_base_type", "DW_TAG_variable")
PUBLIC, PRIVATE = 1, 3


class Entry:
    def __init__(self, tag, parent):
        self.tag = tag
        self.parent = parent
        self.children = []
        self.attributes = {}

    def has(self, name):
        return "DW_AT_" + name in self.attributes

    def text(self, name):
        value = self.attributes.get("DW_AT_" + name, "")
        indirect = INDIRECT.match(value)
        return (indirect.group(1) or indirect.group(2)) if indirect else value

    def number(self, name, default=0):
        value = self.attributes.get("DW_AT_" + name)
        return default if value is None else int(value.split()[0], 0)

    def of(self, *tags):
        return [child for child in self.children if child.tag in tags]


class Table:
    def __init__(self, lines):
        self.entries = {}
        self.roots = []
        self.read(lines)
        self.lines = []

    def read(self, lines):
        open_entries = []
        for line in lines:
            entry = ENTRY.match(line)
            if entry:
                depth = int(entry.group(1), 16)
                del open_entries[depth:]
                parent = open_entries[-1] if open_entries else None
                open_entries.append(Entry(entry.group(3), parent))
                (parent.children if parent else self.roots).append(open_entries[-1])
                self.entries[int(entry.group(2), 16)] = open_entries[-1]
                continue
            attribute = ATTRIBUTE.match(line)
            if attribute and open_entries:
                open_entries[-1].attributes[attribute.group(1)] = attribute.group(2).strip()

    def type_of(self, entry):
        reference = re.match(r"<0x([0-9a-f]+)>", entry.text("type"))
        return self.entries[int(reference.group(1), 16)] if reference else None

    def resolved(self, entry):
        while entry is not None and entry.tag in ("DW_TAG_typedef", "DW_TAG_const_type", "DW_TAG_volatile_type"):
            entry = self.type_of(entry)
        return entry

    def type_name(self, entry):
        if entry is None:
            return "void"
        inner = self.type_of(entry)
        if entry.tag == "DW_TAG_typedef":
            is_named = inner is None or inner.tag not in NAMED or inner.has("name")
            return self.type_name(inner) if is_named else qualified_name(entry)
        if entry.tag == "DW_TAG_const_type":
            return self.type_name(inner) + " const"
        if entry.tag == "DW_TAG_pointer_type":
            return self.type_name(inner) + "*"
        if entry.tag == "DW_TAG_reference_type":
            return self.type_name(inner) + "&"
        if entry.tag == "DW_TAG_rvalue_reference_type":
            return self.type_name(inner) + "&&"
        if entry.tag == "DW_TAG_array_type":
            return self.type_name(inner) + "".join(f"[{count}]" for count in counts(entry))
        if entry.tag == "DW_TAG_subroutine_type":
            parameters = entry.of("DW_TAG_formal_parameter")
            return self.type_name(inner) + "(" + ", ".join(self.type_name(self.type_of(p)) for p in parameters) + ")"
        if entry.tag in NAMED:
            return qualified_name(entry)
        sys.exit(f"no name for a {entry.tag}")

    def type_size(self, entry):
        entry = self.resolved(entry)
        size = entry.number("byte_size", -1)
        if entry.tag == "DW_TAG_array_type":
            size = self.type_size(self.type_of(entry))
            for count in counts(entry):
                size *= count
        elif entry.tag in ("DW_TAG_reference_type", "DW_TAG_rvalue_reference_type", "DW_TAG_pointer_type"):
            size = entry.number("byte_size", 4)
        if size < 0:
            sys.exit(f"no size for a {entry.tag} {qualified_name(entry)}")
        return size

    def slots(self, record):
        """The functions in the virtual table, by slot. It continues that of the first base that has one; those of further
        bases are tables of their own."""
        bases = (self.slots(self.resolved(self.type_of(base))) for base in record.of("DW_TAG_inheritance"))
        slots = next(filter(None, bases), {})
        inherited = [slot for slot, function in slots.items() if is_destructor(function)]
        destructor = None
        for function in record.of("DW_TAG_subprogram"):
            if function.number("virtuality") == 0:
                continue
            if is_destructor(function):
                destructor = function
            else:
                slots[slot_number(function)] = function
        if destructor:  # stands in two slots, whose numbers the compiler leaves out
            for slot in inherited or first_free_pair(slots):
                slots[slot] = destructor
        return slots

    def print_scope(self, scope):
        for entry in scope.children:
            if entry.has("declaration") and entry.tag != "DW_TAG_variable":
                continue
            if entry.tag == "DW_TAG_namespace":
                self.print_scope(entry)
            elif entry.tag in RECORDS:
                self.print_record(entry)
                self.print_scope(entry)
            elif entry.tag == "DW_TAG_enumeration_type":
                self.print_enumeration(entry)
            elif entry.tag == "DW_TAG_typedef":
                self.block(f"type {qualified_name(entry)}: {self.type_name(self.type_of(entry))}")
            elif entry.tag == "DW_TAG_variable" and entry.has("name") and entry.has("const_value"):
                self.block(f"constant {qualified_name(entry)} = {self.constant(entry)}")

    def constant(self, entry):
        bits = 8 * self.type_size(self.type_of(entry))
        value = entry.number("const_value") % (1 << bits)
        return value - (1 << bits) if value >> (bits - 1) and is_signed(self.resolved(self.type_of(entry))) else value

    def print_enumeration(self, enumeration):
        lines = [f"  {entry.text('name')} = {entry.number('const_value')}" for entry in enumeration.of("DW_TAG_enumerator")]
        self.block(f"enum {qualified_name(enumeration)}, {enumeration.number('byte_size')} bytes", lines)

    def print_record(self, record):
        lines = []
        for base in record.of("DW_TAG_inheritance"):
            kind = " virtual" if base.number("virtuality") else ""
            offset = base.number("data_member_location")
            lines.append(f"  base  {offset:5}      {self.type_name(self.type_of(base))}{kind}")
        for member in record.of("DW_TAG_member"):
            lines.append(self.member_line(member))
        lines += self.slot_lines(record)
        for function in record.of("DW_TAG_subprogram"):
            if self.is_called(function) and not function.number("virtuality") and function.has("type"):
                lines.append(f"  gives {function.text('linkage_name')}: {self.type_name(self.type_of(function))}")
        self.block(f"{RECORDS[record.tag]} {qualified_name(record)}, {record.number('byte_size')} bytes", lines)

    def member_line(self, member):
        if member.has("artificial"):
            return f"  field {member.number('data_member_location'):5} {self.type_size(self.type_of(member)):4} {member.text('name')}"
        name = f"{member.text('name')}: {self.type_name(self.type_of(member))}"
        if member.has("bit_size"):
            sys.exit(f"{name} is a bit-field, for which the table has no form yet")
        if member.has("const_value"):
            return f"  const {name} = {self.constant(member)}"
        if member.has("external"):
            return f"  static {name}"
        return f"  field {member.number('data_member_location'):5} {self.type_size(self.type_of(member)):4} {name}"

    def slot_lines(self, record):
        lines = []
        for slot, function in sorted(self.slots(record).items()):
            name = function.text("name") if is_destructor(function) else function.text("linkage_name")
            result = "" if is_destructor(function) else ": " + self.type_name(self.type_of(function))
            lines.append(f"  slot  {slot:5}      {name}{result}")
        return lines

    def is_called(self, function):
        default = PRIVATE if function.parent.tag == "DW_TAG_class_type" else PUBLIC
        is_constructor = function.text("name") in (function.parent.text("name"), "~" + function.parent.text("name"))
        is_made = function.has("artificial") or function.has("deleted") or is_constructor
        return not is_made and function.number("accessibility", default) != PRIVATE

    def block(self, title, lines=()):
        self.lines.append("\n".join([title, *lines]))


def counts(array):
    return [subrange.number("upper_bound", -1) + 1 for subrange in array.of("DW_TAG_subrange_type")]


def is_signed(entry):
    return "signed" in entry.text("encoding") and "unsigned" not in entry.text("encoding")


def is_destructor(function):
    return function.text("name").startswith("~")


def slot_number(function):
    return int(re.search(r"DW_OP_constu: (\d+)", function.text("vtable_elem_location")).group(1))


def first_free_pair(slots):
    slot = 0
    while slot in slots or slot + 1 in slots:
        slot += 1
    return slot, slot + 1


def qualified_name(entry):
    names = []
    while entry is not None and entry.tag in NAMED:
        names.append(entry.text("name") or "(unnamed)")
        entry = entry.parent
    return "::".join(reversed(names))


table = Table(sys.stdin)
for unit in table.roots:
    for namespace in unit.of("DW_TAG_namespace"):
        if namespace.text("name") == "Kelp":
            table.print_scope(namespace)
print("\n\n".join(sorted(table.lines, key=lambda block: block.split(" ")[1].strip(","))))
