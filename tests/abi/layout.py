"""Prints the layout of each class that a shared library exports, as plain text.

To be run by gdb-multiarch, which reads libraries of all architectures, on a library with debug
information. Sizes and fields come from that; slots come from the vtables themselves.
"""
import re
import subprocess
import sys
import traceback

import gdb

# What else may stand in a slot than the name of a function.
EMPTY = "empty"
HIDDEN = "hidden"
PURE = "pure"

EXPLANATION = """\
The classes that the library exports. Offsets and sizes are bytes.
A slot without a function of its own, pure or the destructor of an abstract class (empty), is
followed by the functions that the library's derived classes have there."""


def readelf(*options):
    return subprocess.check_output(["readelf", "--wide", *options, library], text=True).splitlines()


def exported_symbols():
    """What the library defines for others: name -> (address, size)."""
    words = (line.split() for line in readelf("--dyn-syms"))
    return {w[7]: (int(w[1], 16), int(w[2], 0)) for w in words
            if len(w) == 8 and w[0][:-1].isdigit() and w[6] != "UND"}


def exported_classes(symbols):
    """All classes stand in the global namespace, so a mangled name begins with its class."""
    prefix = re.compile(r"_Z(?:NK?|TV|TI|TS)(\d+)(.*)")
    found = filter(None, map(prefix.match, symbols))
    return sorted({rest[:int(length)] for length, rest in (m.groups() for m in found)})


def relocated_words(symbols):
    """Address of each word that the dynamic linker fills -> name of the symbol it puts there.

    For a function of the library itself it may only be told where that is."""
    names = {address: name for name, (address, _) in symbols.items()}
    entry = re.compile(r"([0-9a-f]+) +[0-9a-f]+ +R_"
                       r"(?:(?:X86_64_64|ARM_ABS32) +\S+ +([^@ ]+)|(\S+_RELATIVE) *([0-9a-f]*))?")
    words = {}
    for m in filter(None, map(entry.match, readelf("--relocs"))):
        place, name = int(m[1], 16), m[2]
        if m[3]:
            # Where the entry does not say it, the word itself holds it.
            name = names.get(int(m[4], 16) if m[4] else word_at(place))
        words[place] = {None: HIDDEN, "__cxa_pure_virtual": PURE}.get(name, name)
    return words


def word_at(address):
    return int(gdb.parse_and_eval(f"*(unsigned int *) {address}"))


def vtable(name, symbols, words):
    """What each slot holds, or None when the library has no vtable of the class."""
    if f"_ZTV{len(name)}{name}" not in symbols:
        return None
    address, size = symbols[f"_ZTV{len(name)}{name}"]
    width = gdb.lookup_type("void").pointer().sizeof
    table = [words.get(address + offset, EMPTY) for offset in range(0, size, width)]
    # One vtable is all that single inheritance needs. Before its slots stand the distance to
    # where the object begins, which is 0, and the type.
    if table[:2] != [EMPTY, f"_ZTI{len(name)}{name}"]:
        raise ValueError(f"the vtable of {name} has a form that is not understood: {table}")
    return table[2:]


def simplified(text):
    """The types in it as a person writes them, without the default arguments of templates."""
    text = re.sub(r"\b(class|struct|enum|union) ", "", text).replace("[abi:cxx11]", "")
    text = text.replace("std::__cxx11::", "std::")
    text = re.sub(r"std::basic_string<char, [^<>]*<char>, [^<>]*<char> >", "std::string", text)
    return re.sub(r", std::allocator<[^<>]*>(?= ?>)", "", text).replace(" >", ">")


def function(symbol):
    text = simplified(gdb.execute(f"demangle -- {symbol}", to_string=True).strip())
    # Without this both destructors of a class would read the same.
    return text + " and delete" if symbol.endswith("D0Ev") else text


def bases_of(gdb_type):
    return [field for field in gdb_type.fields() if field.is_base_class]


def fields_of(gdb_type):
    """Without the statics, which are no part of an object and have a symbol each."""
    return [field for field in gdb_type.fields()
            if not field.is_base_class and hasattr(field, "bitpos")]


def derives_from(gdb_type, name):
    return any(base.type.name == name or derives_from(base.type, name)
               for base in bases_of(gdb_type))


def is_polymorphic(gdb_type):
    return any(field.artificial or field.is_base_class and is_polymorphic(field.type)
               for field in gdb_type.fields())


def alignment(gdb_type, types):
    # Where a unit of the library knows no more of a base than its name, gdb would take 1.
    bases = [alignment(types.get(base.type.name, base.type), types) for base in bases_of(gdb_type)]
    return max([1, *bases, *(field.type.alignof for field in fields_of(gdb_type))])


def slot_text(name, number, types, vtables):
    content = vtables[name][number]
    if content.startswith("_Z"):
        return function(content)
    fillings = {vtables[other][number] for other in vtables
                if vtables[other] and derives_from(types[other], name)}
    names = ", ".join(sorted(function(x) for x in fillings if x.startswith("_Z")))
    return f"{content}: {names}" if names else content


def print_class(name, types, vtables):
    gdb_type = types[name]
    print(f"\n{name}: size {gdb_type.sizeof}, alignment {alignment(gdb_type, types)}")
    for base in bases_of(gdb_type):
        print(f"  base at {base.bitpos // 8}: {base.type.name}")
    for field in fields_of(gdb_type):
        what = f"{field.name}: {simplified(str(field.type))}"
        print(f"  field at {field.bitpos // 8}, size {field.type.sizeof}: "
              + ("pointer to the vtable" if field.artificial else what))
    for number in range(len(vtables[name] or [])):
        print(f"  slot {number}: {slot_text(name, number, types, vtables)}")
    if vtables[name] is None and is_polymorphic(gdb_type):
        print("  no vtable in the library: programs have their own")


def main():
    symbols = exported_symbols()
    words = relocated_words(symbols)
    types = {name: gdb.lookup_type(name) for name in exported_classes(symbols)}
    vtables = {name: vtable(name, symbols, words) for name in types}
    print(EXPLANATION)
    for name in types:
        print_class(name, types, vtables)


gdb.execute("set language c++")
library = gdb.objfiles()[0].filename
try:
    main()
except Exception:  # gdb itself would go on and end as if all were well
    traceback.print_exc(file=sys.stderr)
    gdb.execute("quit 1")
