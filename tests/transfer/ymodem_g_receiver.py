#!/usr/bin/python3
"""A YMODEM-G receiver for tests: takes one file from the serial device given as the
first argument and writes it into the folder given as the second. Exits 0 when the
file arrived with good CRCs, 1 otherwise."""

import os
import sys

import serial

SOH, STX, EOT, ACK, CAN = 0x01, 0x02, 0x04, 0x06, 0x18


def crc16(data):
    crc = 0
    for byte in data:
        crc ^= byte << 8
        for _ in range(8):
            crc = ((crc << 1) ^ 0x1021) if crc & 0x8000 else crc << 1
            crc &= 0xFFFF
    return crc


def read_exactly(port, size):
    data = port.read(size)
    if len(data) != size:
        raise RuntimeError("timed out after %d of %d bytes" % (len(data), size))
    return data


def read_block(port):
    """Returns (number, payload), or None for EOT."""
    while True:
        head = read_exactly(port, 1)[0]
        if head == EOT:
            return None
        if head == CAN:
            raise RuntimeError("sender cancelled")
        if head in (SOH, STX):
            break
    size = 128 if head == SOH else 1024
    rest = read_exactly(port, 2 + size + 2)
    number, complement, payload = rest[0], rest[1], rest[2:2 + size]
    if (number + complement) & 0xFF != 0xFF:
        raise RuntimeError("bad block number")
    if crc16(payload) != (rest[-2] << 8 | rest[-1]):
        raise RuntimeError("bad CRC in block %d" % number)
    return number, payload


def main():
    port = serial.Serial(sys.argv[1], 115200, timeout=20)
    folder = sys.argv[2]
    port.write(b"G")
    number, header = read_block(port)
    if number != 0:
        raise RuntimeError("expected the header, got block %d" % number)
    name, _, rest = header.partition(b"\0")
    size = int(rest.split(b"\0")[0].split()[0])
    port.write(bytes([ACK]) + b"G")
    data = bytearray()
    expected = 1
    while True:
        block = read_block(port)
        if block is None:
            break
        number, payload = block
        if number != expected:
            raise RuntimeError("block %d when %d was expected" % (number, expected))
        expected = (expected + 1) & 0xFF
        data += payload
    port.write(bytes([ACK]) + b"G")
    number, terminator = read_block(port)
    if number != 0 or terminator.strip(b"\0"):
        raise RuntimeError("expected the end of the batch")
    port.write(bytes([ACK]))
    port.flush()
    with open(os.path.join(folder, os.path.basename(name.decode())), "wb") as out:
        out.write(data[:size])
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except Exception as error:  # reported to the test through stderr and the exit code
        print("ymodem_g_receiver:", error, file=sys.stderr)
        sys.exit(1)
