"""A meter speaking a private binary protocol over TCP, for the frame template tests.

Listens on a free loopback port and prints it on the first line; to the one client that
connects it sends COUNT frames in pieces of random size, with random bytes between some of
them and a damaged checksum on others, then closes and prints, as JSON, the frames it sent:
their status and the summary the template should give.

A frame: 7E, its whole length (two bytes, little-endian), a sequence number (big-endian
16 bits), a voltage in hundredths (signed 16 bits), a state (0 idle, 1 run), a name in ASCII,
then CRC-16/MODBUS, low byte first. The CRC is computed here, independently of the program.
"""
import json
import random
import socket
import struct
import sys
import time


def crc16(data):
    crc = 0xFFFF
    for byte in data:
        crc ^= byte
        for _ in range(8):
            crc = (crc >> 1) ^ 0xA001 if crc & 1 else crc >> 1
    return crc


def main():
    count = int(sys.argv[1])
    rng = random.Random(int(sys.argv[2]))
    server = socket.socket()
    server.bind(("127.0.0.1", 0))
    server.listen(1)
    print(server.getsockname()[1], flush=True)
    stream = bytearray()
    sent = []
    noise = 0
    for seq in range(count):
        if seq % 5 == 4:
            junk = bytes(rng.randrange(256) for _ in range(rng.randrange(1, 30)))
            stream += junk
            noise += len(junk)
        volts = rng.randrange(-2000, 30000)
        state = rng.randrange(2)
        name = "".join(rng.choice("ABCDEFGHJKLMNPQRSTUVWXYZ") for _ in range(rng.randrange(3, 13)))
        body = struct.pack(">HhB", seq, volts, state) + name.encode()
        frame = b"\x7e" + struct.pack("<H", 3 + len(body) + 2) + body
        crc = crc16(frame)
        if seq % 7 == 6:
            crc ^= 0x0101
        frame += struct.pack("<H", crc)
        stream += frame
        summary = "seq=%d, volts=%.2f V, state=%s, name=%s" % (
            seq, volts / 100, "Run" if state else "Idle", name)
        sent.append(["CHECKSUM_ERROR" if seq % 7 == 6 else "OK", summary])
    client, _ = server.accept()
    at = 0
    while at < len(stream):
        n = rng.randrange(1, 50)
        client.sendall(stream[at:at + n])
        at += n
        if rng.randrange(10) == 0:
            time.sleep(0.002)
    client.close()
    print(json.dumps({"frames": sent, "noise": noise, "bytes": len(stream)}), flush=True)


main()
