#!/usr/bin/python3
"""Peers for the velmora-cli tests, run with Debian's /usr/bin/python3.

  tcp-echo              listens on a free port (printed first), echoes every byte
  tcp-say TEXT          listens on a free port (printed first), sends TEXT to the first
                        client, then prints what the client sends as hex until it closes
  serial-talk DEV HEX N writes HEX to the serial device DEV and prints as hex what comes
                        back, until N bytes came or 10 s passed
  serial-read DEV N     prints as hex the first N bytes that arrive on DEV (10 s at most)
  serial-answer DEV N HEX  opens DEV and prints "ready", prints as hex the first N bytes
                        that arrive (10 s at most), then writes HEX
  tcp-talk PORT HEX N   connects to PORT on loopback, sends HEX and prints as hex the
                        first N bytes that come back (10 s at most)
  modbus-master DEV     reads holding registers 0-1 and 10 of slave 1 over Modbus RTU on
                        DEV with pymodbus and prints the values, one read a line
  modbus-slave DEV      prints "ready", then serves slave 1 over Modbus RTU at 19200 on
                        DEV with pymodbus, holding registers 1-5 = 11, 22, 33, 44, 55
"""
import socket
import sys
import time

import serial


def listen():
    server = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    server.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    server.bind(("127.0.0.1", 0))
    server.listen(4)
    print(server.getsockname()[1], flush=True)
    return server


def tcp_echo():
    server = listen()
    while True:
        client, _ = server.accept()
        while True:
            data = client.recv(65536)
            if not data:
                break
            client.sendall(data)
        client.close()


def tcp_say(text):
    server = listen()
    client, _ = server.accept()
    client.sendall(text.encode())
    received = b""
    while True:
        data = client.recv(65536)
        if not data:
            break
        received += data
    print(received.hex(), flush=True)


def read_serial(port, count):
    received = b""
    deadline = time.monotonic() + 10
    while len(received) < count and time.monotonic() < deadline:
        received += port.read(count - len(received))
    return received


def serial_talk(device, hex_bytes, count):
    with serial.Serial(device, 115200, timeout=0.1) as port:
        port.write(bytes.fromhex(hex_bytes))
        print(read_serial(port, count).hex(), flush=True)


def serial_read(device, count):
    with serial.Serial(device, 115200, timeout=0.1) as port:
        print("ready", flush=True)
        print(read_serial(port, count).hex(), flush=True)


def serial_answer(device, count, hex_bytes):
    with serial.Serial(device, 115200, timeout=0.1) as port:
        print("ready", flush=True)
        print(read_serial(port, count).hex(), flush=True)
        port.write(bytes.fromhex(hex_bytes))
        port.flush()
        time.sleep(0.5)  # the bytes leave the line before it closes


def tcp_talk(port, hex_bytes, count):
    with socket.create_connection(("127.0.0.1", port), timeout=10) as client:
        client.sendall(bytes.fromhex(hex_bytes))
        received = b""
        while len(received) < count:
            data = client.recv(65536)
            if not data:
                break
            received += data
        print(received.hex(), flush=True)
def modbus_master(device):
    from pymodbus.client import ModbusSerialClient

    client = ModbusSerialClient(port=device, baudrate=115200, timeout=2, retries=5)
    client.connect()
    for address, count in ((0, 2), (10, 1)):
        reply = client.read_holding_registers(address, count, slave=1)
        print(getattr(reply, "registers", reply), flush=True)
    client.close()


def modbus_slave(device):
    from pymodbus.datastore import (ModbusSequentialDataBlock, ModbusServerContext,
                                    ModbusSlaveContext)
    from pymodbus.server import StartSerialServer
    from pymodbus.transaction import ModbusRtuFramer

    block = ModbusSequentialDataBlock(0, [11, 22, 33, 44, 55] + [0] * 95)
    context = ModbusServerContext(slaves={1: ModbusSlaveContext(hr=block, zero_mode=True)},
                                  single=False)
    print("ready", flush=True)
    StartSerialServer(context=context, framer=ModbusRtuFramer, port=device, baudrate=19200)


if __name__ == "__main__":
    mode = sys.argv[1]
    if mode == "tcp-echo":
        tcp_echo()
    elif mode == "tcp-say":
        tcp_say(sys.argv[2])
    elif mode == "serial-talk":
        serial_talk(sys.argv[2], sys.argv[3], int(sys.argv[4]))
    elif mode == "serial-read":
        serial_read(sys.argv[2], int(sys.argv[3]))
    elif mode == "serial-answer":
        serial_answer(sys.argv[2], int(sys.argv[3]), sys.argv[4])
    elif mode == "tcp-talk":
        tcp_talk(int(sys.argv[2]), sys.argv[3], int(sys.argv[4]))
    elif mode == "modbus-master":
        modbus_master(sys.argv[2])
    elif mode == "modbus-slave":
        modbus_slave(sys.argv[2])
    else:
        sys.exit("unknown mode " + mode)
