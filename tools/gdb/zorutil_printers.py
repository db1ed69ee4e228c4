"""How gdb shows the values of libutil: texts as texts, variants by their type, lists and tables with what is in them.

    (gdb) source /usr/share/zorutil/gdb/zorutil_printers.py
    (gdb) print value
    $1 = VT_R8 | VT_ARRAY, 2 elements = {0.5, 1}

Sourced by hand it serves every program; installed, gdb loads it with the library. Only memory is read, no function of the
program is called, so that it works on core files too. Objects that are not initialised, freed or damaged are shown as
far as they can be read. `print /r` shows what is behind it all.
"""
import datetime
import math
import struct

import gdb
import gdb.printing

MAX_LENGTH = 1 << 30  # of a CString, in units
MAX_NESTING = 4       # arrays in arrays, messages behind messages

VT = {0: "VT_EMPTY", 1: "VT_NULL", 2: "VT_I2", 3: "VT_I4", 4: "VT_R4", 5: "VT_R8", 6: "VT_CY", 7: "VT_DATE",
      8: "VT_BSTR", 9: "VT_DISPATCH", 10: "VT_ERROR", 11: "VT_BOOL", 12: "VT_VARIANT", 13: "VT_UNKNOWN",
      14: "VT_DECIMAL", 16: "VT_I1", 17: "VT_UI1", 18: "VT_UI2", 19: "VT_UI4", 20: "VT_I8", 21: "VT_UI8",
      22: "VT_INT", 23: "VT_UINT"}
VT_DATE, VT_BSTR, VT_VARIANT, VT_DECIMAL = 7, 8, 12, 14
VT_ARRAY, VT_BYREF = 0x2000, 0x4000

# What struct.unpack makes of the bytes of a scalar.
FORMATS = {2: "h", 3: "i", 4: "f", 5: "d", 7: "d", 11: "h", 16: "b", 17: "B", 18: "H", 19: "I", 20: "q", 21: "Q",
           22: "i", 23: "I"}
SIZES = {6: 8, 8: 0, 10: 4, 12: 16, 14: 16}  # 0: a pointer


class Unreadable(Exception):
    """What is there is not what it should be."""


# --- memory ---------------------------------------------------------------------------------------------------------


def byte_order():
    return ">" if "big" in gdb.execute("show endian", to_string=True) else "<"


def pointer_size():
    return gdb.lookup_type("void").pointer().sizeof


def read(address, count):
    if count == 0:
        return b""
    return gdb.selected_inferior().read_memory(address, count).tobytes()


def read_as(address, code):
    return struct.unpack(byte_order() + code, read(address, struct.calcsize("=" + code)))[0]


def read_pointer(address):
    return read_as(address, "Q" if pointer_size() == 8 else "I")


def scalar(value):
    """The number in an object that holds nothing else, such as an atomic one."""
    while value.type.strip_typedefs().code == gdb.TYPE_CODE_STRUCT:
        fields = value.type.strip_typedefs().fields()
        value = value[next(field for field in fields if hasattr(field, "bitpos"))]  # others are of the class
    return int(value)


def first_pointer(value):
    """The address in a smart pointer, which begins with it."""
    return read_pointer(int(value.address))


def max_elements():
    limit = gdb.parameter("print elements")
    return limit if limit else 200


def class_of(address):
    """The class of an object with virtual functions, as its table of them is called; empty when it has no such."""
    words = gdb.execute("info symbol %d" % read_pointer(address), to_string=True)
    return words[len("vtable for "):].split(" +")[0].split(" in section")[0] if words.startswith("vtable for ") else ""


# --- texts and numbers ----------------------------------------------------------------------------------------------

ESCAPES = {0x22: '\\"', 0x5C: "\\\\", 0x0A: "\\n", 0x0D: "\\r", 0x09: "\\t", 0: "\\0"}


def quoted(units, address):
    """The text of so many UTF-16 units."""
    shown = min(units, max_elements())
    text = read(address, 2 * shown).decode("utf-16-le" if byte_order() == "<" else "utf-16-be", "replace")
    text = "".join(ESCAPES.get(ord(c)) or (c if c.isprintable() else "\\x%x" % ord(c)) for c in text)
    return 'u"%s"%s' % (text, "" if shown == units else "...")


def string_text(address):
    """The text of a CString, by its pointer; three numbers stand 16 bytes before the text."""
    if address == 0:
        return 'u""'
    references, length, capacity = (read_as(address - 16 + i, "i") for i in (0, 4, 8))
    if references < 1 or not 0 <= length <= capacity <= MAX_LENGTH:
        raise Unreadable("no text")
    return quoted(length, address)


def bstr_text(address):
    if address == 0:
        return "null"
    size = read_as(address - 4, "I")
    if size > 2 * MAX_LENGTH:
        raise Unreadable("no text")
    return quoted(size // 2, address) + (" and a byte" if size % 2 else "")


def moment(milliseconds):
    """Of so many since 30 December 1899."""
    try:
        time = datetime.datetime(1899, 12, 30) + datetime.timedelta(milliseconds=milliseconds)
    except OverflowError:
        return "%d ms since 1899-12-30" % milliseconds
    return time.strftime("%%04d-%m-%d %H:%M:%S.%%03d") % (time.year, time.microsecond // 1000)


def ole_date(days):
    if not math.isfinite(days) or not -657434 <= math.trunc(days) <= 2958465:
        return "date %r" % days
    whole = math.trunc(days)
    return moment(whole * 86400000 + round(abs(days - whole) * 86400000))


def fixed_point(number, scale):
    digits = "%0*d" % (scale + 1, abs(number))
    text = digits[:-scale] + "." + digits[-scale:] if scale else digits
    return ("-" if number < 0 else "") + (text.rstrip("0").rstrip(".") if scale else text)


def decimal(record):
    scale, sign, high, low = struct.unpack(byte_order() + "2xBBIQ", record)
    number = high << 32 << 32 | low
    return fixed_point(-number if sign & 0x80 else number, min(scale, 28))


def real(number, digits):
    return "%.*g" % (digits, number)


def cause(error):
    """Why something is not shown. A class without members is one that the debug information only names."""
    text = str(error) or "unreadable"
    return "<incomplete type>" if text.startswith("There is no member") else "<%s>" % text


def described(read_text):
    """The text that a function gives, or what kept it from it."""
    try:
        return read_text()
    except (gdb.error, Unreadable, ValueError, OverflowError, struct.error, StopIteration) as error:
        return cause(error)


# --- variants and arrays --------------------------------------------------------------------------------------------


def vartype_name(vt):
    name = VT.get(vt & 0x0FFF, "vt %d" % (vt & 0x0FFF))
    for flag, word in ((VT_ARRAY, " | VT_ARRAY"), (VT_BYREF, " | VT_BYREF")):
        if vt & flag:
            name += word
    return name


def scalar_text(vt, data, nesting):
    """A value of a type, by its bytes: those of an array's element, or the upper half of a variant."""
    if vt == VT_VARIANT:
        return variant_text(data, nesting + 1)
    if vt == VT_DECIMAL:
        return decimal(data)
    if vt == VT_BSTR:
        return bstr_text(struct.unpack_from(byte_order() + ("Q" if pointer_size() == 8 else "I"), data)[0])
    if vt == 6:
        return fixed_point(struct.unpack_from(byte_order() + "q", data)[0], 4)
    if vt == 10:
        return "0x%08x" % struct.unpack_from(byte_order() + "I", data)[0]
    if vt not in FORMATS:
        return "0x" + data.hex()
    number = struct.unpack_from(byte_order() + FORMATS[vt], data)[0]
    if vt == VT_DATE:
        return ole_date(number)
    if vt == 11:
        return {0: "false", -1: "true"}.get(number, "true (%d)" % number)
    return real(number, 9) if vt == 4 else real(number, 17) if vt == 5 else str(number)


def variant_text(record, nesting=0):
    """Type and value of 16 bytes."""
    vt = struct.unpack_from(byte_order() + "H", record)[0]
    name = vartype_name(vt)
    if vt & VT_BYREF or (vt & ~VT_ARRAY) not in VT:
        return "%s, 0x%016x" % (name, struct.unpack_from(byte_order() + "Q", record, 8)[0])
    if vt & VT_ARRAY:
        address = struct.unpack_from(byte_order() + ("Q" if pointer_size() == 8 else "I"), record, 8)[0]
        if address == 0:
            return name + ", null"
        if nesting >= MAX_NESTING:
            return name + ", ..."
        array = SafeArray(address)
        return "%s, %s = {%s}" % (name, array.shape(), ", ".join(array.elements(nesting)))
    if vt in (0, 1):
        return name
    return name + " " + described(lambda: scalar_text(vt, record if vt == VT_DECIMAL else record[8:], nesting))


class SafeArray:
    """An array descriptor: the type stands in the word before it, the data elsewhere."""

    def __init__(self, address):
        self.vt = read_as(address - 4, "I")
        dimensions = read_as(address, "H")
        self.size = read_as(address + 4, "I")
        wide = pointer_size() == 8
        self.data = read_pointer(address + (16 if wide else 12))
        bounds = address + (24 if wide else 16)
        if dimensions not in (1, 2) or self.vt > 0x0FFF or self.size > 16:
            raise Unreadable("no array")
        self.counts = [read_as(bounds + 8 * i, "I") for i in range(dimensions)]

    def shape(self):
        if len(self.counts) == 2:
            return "%d rows of %d" % tuple(self.counts)
        return "%d element%s" % (self.counts[0], "" if self.counts[0] == 1 else "s")

    def elements(self, nesting=0):
        count = self.counts[0] * self.counts[-1] if len(self.counts) == 2 else self.counts[0]
        if self.data == 0 or self.size == 0:
            return
        slot = pointer_size() if self.vt == VT_BSTR else SIZES.get(self.vt) or struct.calcsize(
            "=" + FORMATS.get(self.vt, "%ds" % self.size))
        for i in range(count):
            if i == max_elements():
                yield "..."
                return
            text = described(lambda: scalar_text(self.vt, read(self.data + i * slot, slot), nesting))
            yield text
            if text.startswith("<"):
                return


# --- the printers ---------------------------------------------------------------------------------------------------


class Printer:
    """A text for a value; subclasses say which."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return described(self.text)


class ChildrenPrinter(Printer):
    """A text and what is in it; one that breaks off says why."""

    def children(self):
        entries, index = None, 0
        while True:
            try:
                entries = entries or self.entries()
                entry = next(entries)
            except StopIteration:
                return
            except (gdb.error, Unreadable, ValueError, struct.error) as error:
                yield "[%d]" % index, cause(error)
                return
            yield "[%d]" % index, entry
            index += 1

    def display_hint(self):
        return "array"


class StringPrinter(Printer):
    def text(self):
        return string_text(int(self.value["text_"]))


class BstrPrinter(Printer):
    def text(self):
        return bstr_text(int(self.value))


class OwnedBstrPrinter(Printer):
    def text(self):
        return bstr_text(int(self.value["text_"]))


class VariantPrinter(Printer):
    def text(self):
        if self.value.address is not None:
            return variant_text(read(int(self.value.address), 16))
        words = [int(self.value[name]) for name in ("vt", "wReserved1", "wReserved2", "wReserved3")]
        return variant_text(struct.pack(byte_order() + "4HQ", *words, int(self.value["ullVal"])))


class ArrayPrinter(ChildrenPrinter):
    def text(self):
        array = SafeArray(int(self.value.address))
        return "%s, %s" % (vartype_name(array.vt), array.shape())

    def entries(self):
        return SafeArray(int(self.value.address)).elements()


class DecimalPrinter(Printer):
    def text(self):
        words = [int(self.value[name]) for name in ("wReserved", "scale", "sign", "Hi32", "Lo64")]
        return decimal(struct.pack(byte_order() + "HBBIQ", *words))


class CurrencyPrinter(Printer):
    def text(self):
        return fixed_point(int(self.value["int64"]), 4)


class TimePrinter(Printer):
    def text(self):
        return moment(int(self.value["milliseconds_"]))


class AddressPrinter(Printer):
    def text(self):
        octets = ".".join(str(octet) for octet in struct.pack(byte_order() + "I", int(self.value["address_"])))
        return octets if self.value.type.strip_typedefs().name == "CIpAddr" else "%s:%d" % (
            octets, int(self.value["port_"]))


def property_text(address):
    """A property of the library's own class: after its table of functions the id, then the value."""
    if address == 0:
        return "no property"
    if class_of(address) != "zorutil::properties::CProperty":
        return "a property of another class at 0x%x" % address
    size = pointer_size()
    number = read_as(address + size, "I")
    value = described(lambda: variant_text(read(address + 2 * size, 16)))
    return "%d:%d = %s" % (number >> 21 & 0x3FF, number & 0x1FFFFF, value)


class PropertyPrinter(Printer):
    def text(self):
        return property_text(int(self.value.address))


class PropertyListPrinter(ChildrenPrinter):
    """A list of the standard library: nodes in a ring, each with the next, the one before and its element."""

    def nodes(self):
        size = pointer_size()
        end = int(self.value["_M_impl"]["_M_node"].address)
        at = read_pointer(end)
        seen = {end}
        while at not in seen:
            seen.add(at)
            yield at + 2 * size
            at = read_pointer(at)
            if len(seen) > 1000000:
                break
        if at != end:
            raise Unreadable("no list")

    def text(self):
        count = sum(1 for _ in self.nodes())
        return "%d propert%s" % (count, "y" if count == 1 else "ies")

    def entries(self):
        for node in self.nodes():
            yield described(lambda: property_text(read_pointer(node)))


def object_text(value):
    """An object of the tree: name, type, references."""
    name = described(lambda: string_text(int(value["name_"]["text_"])))
    full = int(value["fullType_"])
    subtype = full & 0xFFFF
    words = ["type %d" % ((full >> 16 & 0xFFFF) - (full >> 15 & 0x10000))]
    if subtype:
        words[0] += ".%d" % subtype
    references = scalar(value["references_"]) >> 32
    if references:
        words.append("%d reference%s" % (references, "" if references == 1 else "s"))
    if scalar(value["flags_"]) & 2:
        words.append("modified")
    return "%s (%s)" % (name, ", ".join(words))


class ObjectPrinter(Printer):
    def text(self):
        return object_text(self.value)


class ObjectReferencePrinter(Printer):
    def text(self):
        pointer = self.value["object_"]
        return object_text(pointer.dereference()) if int(pointer) else "empty"


class TablePrinter(ChildrenPrinter):
    """A table with its records, which lie in blocks."""

    def count(self):
        return int(self.value["records_"]["count_"])

    def text(self):
        count = self.count()
        owner = self.value["owner_"]
        text = "%d record%s" % (count, "" if count == 1 else "s")
        if int(owner):
            text += " of " + described(lambda: string_text(int(owner.dereference()["name_"]["text_"])))
        return text

    def entries(self):
        blocks = self.value["records_"]["blocks_"]["_M_impl"]
        block, end = blocks["_M_start"], blocks["_M_finish"]
        left = self.count()
        while block != end and left > 0:
            slots = block["slots"]
            slot = gdb.Value(first_pointer(slots)).cast(slots.type.strip_typedefs().template_argument(0).target().pointer())
            for i in range(min(int(block["count"]), left)):
                yield described(lambda: object_text(slot[i]["record"].dereference()))
            left -= int(block["count"])
            block += 1
        if left > 0:
            raise Unreadable("%d records more were expected" % left)


def resource_text(value):
    module = value["module_"]["_M_ptr"]
    name = module.dereference()["name_"] if int(module) else value["name_"]
    name = described(lambda: string_text(int(name["text_"])))
    return "no text" if name == 'u""' else "text %d of %s" % (int(value["id_"]), name[2:-1])


class ResourcePrinter(Printer):
    def text(self):
        return resource_text(self.value)


def message_text(address, nesting=0):
    """A message behind the interface."""
    if address == 0:
        return "no message"
    if class_of(address) != "i18n::CLocalizedMessage" or nesting >= MAX_NESTING:
        return "a message at 0x%x" % address
    try:
        message = gdb.Value(address).cast(gdb.lookup_type("i18n::CLocalizedMessage").pointer()).dereference()
        message["arguments_"]
    except gdb.error:
        return "a message at 0x%x, whose class is not known to gdb" % address
    arguments = message["arguments_"]["_M_impl"]
    first, end = int(arguments["_M_start"]), int(arguments["_M_finish"])
    shown = [variant_text(read(at, 16)) for at in range(first, end, 16)[:max_elements()]]
    text = resource_text(message["resource_"]) + (" (%s)" % ", ".join(shown) if shown else "")
    appended = first_pointer(message["appended_"])
    return text + " and " + message_text(appended, nesting + 1) if appended else text


class MessagePrinter(Printer):
    def text(self):
        return message_text(int(self.value.address))


class ErrorPrinter(Printer):
    def text(self):
        return "code %d, %s" % (int(self.value["code_"]), message_text(first_pointer(self.value["message_"])))


PRINTERS = {
    "CString": StringPrinter,
    "CBstr": OwnedBstrPrinter,
    "CVariant": VariantPrinter,
    "tagVARIANT": VariantPrinter,
    "CSafeArray": ArrayPrinter,
    "tagSAFEARRAY": ArrayPrinter,
    "DECIMAL": DecimalPrinter,
    "CY": CurrencyPrinter,
    "zorplatform::CTimeStamp": TimePrinter,
    "CIpAddr": AddressPrinter,
    "CTcpAddr": AddressPrinter,
    "zorutil::properties::CProperty": PropertyPrinter,
    "zorutil::properties::property_list_t": PropertyListPrinter,
    "CTableObj": ObjectPrinter,
    "zorutil::ref_counted_obj_ptr": ObjectReferencePrinter,
    "CTable": TablePrinter,
    "i18n::CLocalizedResource": ResourcePrinter,
    "i18n::CLocalizedMessage": MessagePrinter,
    "i18n::zor_error_t": ErrorPrinter,
}


class Collection(gdb.printing.PrettyPrinter):
    def __init__(self):
        names = sorted(PRINTERS) + ["BSTR"]
        super().__init__("zorutil", [gdb.printing.SubPrettyPrinter(name) for name in names])
        self.enabled_by_name = {printer.name: printer for printer in self.subprinters}

    def __call__(self, value):
        kind = value.type
        if kind.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
            value = value.referenced_value()
            kind = value.type
        kind = kind.unqualified()
        name = kind.name if kind.name == "BSTR" else kind.strip_typedefs().unqualified().name
        printer = self.enabled_by_name.get(name)
        if printer is None or not printer.enabled:
            return None
        return (BstrPrinter if name == "BSTR" else PRINTERS[name])(value)


def register(objfile=None):
    """For the values of one program or library, or, without one, of all. Once is enough; again replaces."""
    gdb.printing.register_pretty_printer(objfile, Collection(), replace=True)


if __name__ == "__main__":
    register()
