"""Reads programs and DLLs of Windows: their header, imports and resources, and the identifier of a type library."""
import functools
import struct
import uuid

# Types of resources.
RT_MESSAGETABLE, RT_VERSION, RT_MANIFEST, RT_TYPELIB = 11, 16, 24, "TYPELIB"


class Image:
    """A program or DLL. Versions are pairs; time is that of the link, or 0; resources are {type: {number: bytes}}."""

    def __init__(self, path):
        self.data = path.read_bytes()
        header, = self.unpack("<I", 0x3C)
        sections, self.time, options_size, characteristics = self.unpack("<6xHI8xHH", header)
        options = header + 24
        self.is_dll = bool(characteristics & 0x2000)
        self.is_64_bit = self.unpack("<H", options) == (0x20B,)
        self.os_version = self.unpack("<HH", options + 40)
        self.subsystem_version = self.unpack("<HH", options + 48)
        self.flags, = self.unpack("<H", options + 70)
        self._directories = options + (112 if self.is_64_bit else 96)
        self._sections = [self.unpack("<8xIIII", options + options_size + 40 * i) for i in range(sections)]

    def unpack(self, layout, offset):
        return struct.unpack_from(layout, self.data, offset)

    def offset(self, address):
        """Where in the file an address of the image lies."""
        for size, start, raw_size, raw_start in self._sections:
            if start <= address < start + max(size, raw_size):
                return address - start + raw_start
        raise ValueError(f"address {address:#x} is in no section")

    def directory(self, number):
        """Address and size of one of the header's directories."""
        return self.unpack("<II", self._directories + 8 * number)

    def text(self, address):
        start = self.offset(address)
        return self.data[start:self.data.index(b"\0", start)].decode("ascii")

    @functools.cached_property
    def imports(self):
        """Pairs of a DLL's name in lower case, without extension, and a function's name, or "#number"."""
        found = []
        descriptor = self.offset(self.directory(1)[0])
        while (fields := self.unpack("<5I", descriptor))[3]:
            dll = self.text(fields[3]).lower().removesuffix(".dll")
            found += [(dll, name) for name in self._thunks(fields[0] or fields[4])]
            descriptor += 20
        return found

    def _thunks(self, address):
        layout, by_number = ("<Q", 1 << 63) if self.is_64_bit else ("<I", 1 << 31)
        place = self.offset(address)
        while value := self.unpack(layout, place)[0]:
            yield f"#{value & 0xFFFF}" if value & by_number else self.text(value + 2)
            place += struct.calcsize(layout)

    @functools.cached_property
    def resources(self):
        address, size = self.directory(2)
        if not size:
            return {}
        root = self.offset(address)
        return {kind: {number: self._content(root, language) for number, language in self._entries(root, numbers)}
                for kind, numbers in self._entries(root, 0)}

    def _entries(self, root, folder):
        """Name, and place below the root, of what a folder of the resources holds."""
        count = sum(self.unpack("<12xHH", root + folder))
        for i in range(count):
            name, place = self.unpack("<II", root + folder + 16 + 8 * i)
            if name & 0x80000000:
                start = root + (name & 0x7FFFFFFF)
                length, = self.unpack("<H", start)
                name = self.data[start + 2:start + 2 + 2 * length].decode("utf-16-le")
            yield name, place & 0x7FFFFFFF

    def _content(self, root, languages):
        """Of the only language."""
        (_, place), = self._entries(root, languages)
        address, size = self.unpack("<II", root + place)
        start = self.offset(address)
        return self.data[start:start + size]


def library_identifier(type_library):
    """The identifier of a type library, as it is stored."""
    guid, flags, types = struct.unpack_from("<8xi8xi8xi", type_library)
    segments = 0x54 + (4 if flags & 0x100 else 0) + 4 * types
    identifiers, = struct.unpack_from("<i", type_library, segments + 5 * 16)
    return str(uuid.UUID(bytes_le=type_library[identifiers + guid:][:16]))
