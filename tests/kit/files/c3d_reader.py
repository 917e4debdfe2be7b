# SPDX-FileCopyrightText: the tarn_sdk authors
# SPDX-License-Identifier: Apache-2.0

"""A second reader of C3D files for the tests: plain, slow, and trusting what a sound file says."""

import math
import pathlib
import struct

INTEL, DEC, MIPS = 84, 85, 86


def dec_real(raw):
    """The number of sign, exponent and fraction that a DEC machine means, from their definition."""
    bits = int.from_bytes(raw[1:2] + raw[0:1] + raw[3:4] + raw[2:3], "big")
    sign, exponent, fraction = bits >> 31, bits >> 23 & 0xFF, bits & 0x7FFFFF
    if exponent == 0:
        return math.nan if sign else 0.0
    return (-1) ** sign * (0x800000 + fraction) * 2.0 ** (exponent - 128 - 24)


def single(number):
    return struct.unpack("<f", struct.pack("<f", number))[0]


class C3d:
    """Everything public: parameters[(group, name)], points[frame][marker], analog[sample][channel]."""

    def __init__(self, path):
        self.bytes = pathlib.Path(path).read_bytes()
        start = (self.bytes[0] - 1) * 512
        self.processor = self.bytes[start + 3]
        self.order = ">" if self.processor == MIPS else "<"
        self.parameters = {}
        self.read_parameters(start + 4)
        self.read_data()

    def word(self, at, signed=False):
        return struct.unpack_from(self.order + ("h" if signed else "H"), self.bytes, at)[0]

    def real(self, at):
        if self.processor == DEC:
            return dec_real(self.bytes[at:at + 4])
        return struct.unpack_from(self.order + "f", self.bytes, at)[0]

    def header(self, number):
        return self.word(2 * (number - 1))

    def read_parameters(self, at):
        groups, found = {}, []
        while True:
            length = abs(struct.unpack_from("b", self.bytes, at)[0])
            group = struct.unpack_from("b", self.bytes, at + 1)[0]
            if length == 0 or group == 0:
                break
            name = self.bytes[at + 2:at + 2 + length].decode("latin-1")
            pointer = at + 2 + length
            if group < 0:
                groups[-group] = name
            else:
                found.append((group, name, pointer + 2))
            distance = self.word(pointer)
            if distance == 0:
                break
            at = pointer + distance
        for group, name, content in found:
            self.parameters[groups[group], name] = self.elements(content)

    def elements(self, at):
        kind = struct.unpack_from("b", self.bytes, at)[0]
        shape = list(self.bytes[at + 2:at + 2 + self.bytes[at + 1]])
        count = math.prod(shape)
        at += 2 + len(shape)
        if kind == -1:
            text = self.bytes[at:at + count].decode("latin-1")
            length = shape[0] if shape else 1
            return [text[i:i + length].rstrip() for i in range(0, count, length)] if length else []
        if kind == 1:
            return [struct.unpack_from("b", self.bytes, at + i)[0] for i in range(count)]
        if kind == 2:
            return [self.word(at + 2 * i, signed=True) for i in range(count)]
        return [self.real(at + 4 * i) for i in range(count)]

    def get(self, group, name, default=None):
        return self.parameters.get((group, name), default)

    def texts(self, group, name):
        texts, number = list(self.get(group, name, [])), 2
        while (group, f"{name}{number}") in self.parameters:
            texts += self.get(group, f"{name}{number}")
            number += 1
        return texts

    def frame_count(self):
        if ("TRIAL", "ACTUAL_START_FIELD") in self.parameters:
            first, last = (self.get("TRIAL", f"ACTUAL_{end}_FIELD") for end in ("START", "END"))
            first, last = ((low & 0xFFFF) + 65536 * (high & 0xFFFF) for low, high in (first, last))
            return first, last - first + 1
        return self.header(4), self.header(5) - self.header(4) + 1

    def read_data(self):
        self.scale = self.get("POINT", "SCALE")[0]
        self.rate = self.get("POINT", "RATE")[0]
        self.unit = self.get("POINT", "UNITS", [""])[0]
        self.labels = self.texts("POINT", "LABELS")
        self.first_frame, frames = self.frame_count()
        points, samples = self.header(2), self.header(10)
        channels = self.header(3) // samples if samples else 0
        at = (self.header(9) - 1) * 512
        width = 4 if self.scale < 0 else 2
        number = self.real if self.scale < 0 else lambda at: self.word(at, signed=True)
        self.points, self.analog = [], []
        for _ in range(frames):
            frame = []
            for _ in range(points):
                frame.append(self.point([number(at + width * i) for i in range(4)]))
                at += 4 * width
            self.points.append(frame)
            for _ in range(samples if channels else 0):
                self.analog.append(self.sample([number(at + width * i) for i in range(channels)]))
                at += channels * width

    def point(self, words):
        """Position, residual and cameras; None where it was not seen."""
        fourth = int(words[3])
        if words[3] < 0:
            return None
        scale = 1 if self.scale < 0 else self.scale
        return (*(single(scale * word) for word in words[:3]),
                single((fourth & 0xFF) * abs(self.scale)), fourth >> 8)

    def sample(self, words):
        general = self.get("ANALOG", "GEN_SCALE", [1])[0]
        scales, offsets = self.get("ANALOG", "SCALE"), self.get("ANALOG", "OFFSET")
        return [single((word - offset) * (scale * general))
                for word, scale, offset in zip(words, scales, offsets)]
