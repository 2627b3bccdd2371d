"""A Modbus peer on Debian's pymodbus: `server rtu|tcp PORT` serves slave 1 until killed
(input register n holds n + 1000, every third input is on); `client rtu|tcp PORT` writes
and reads back registers and coils, reads inputs, asks for an address that does not exist,
and prints what it read as JSON."""
import json
import logging
import sys

from pymodbus.datastore import ModbusSequentialDataBlock, ModbusServerContext, ModbusSlaveContext
from pymodbus.transaction import ModbusRtuFramer, ModbusSocketFramer

logging.basicConfig(level=logging.CRITICAL)


def serve(kind, where):
    from pymodbus.server import StartSerialServer, StartTcpServer

    store = ModbusSlaveContext(
        di=ModbusSequentialDataBlock(0, [i % 3 == 0 for i in range(100)]),
        co=ModbusSequentialDataBlock(0, [False] * 100),
        hr=ModbusSequentialDataBlock(0, [0] * 100),
        ir=ModbusSequentialDataBlock(0, [1000 + i for i in range(100)]),
        zero_mode=True,
    )
    context = ModbusServerContext(slaves={1: store}, single=False)
    if kind == "rtu":
        StartSerialServer(context=context, framer=ModbusRtuFramer, port=where, baudrate=19200)
    else:
        StartTcpServer(context=context, framer=ModbusSocketFramer, address=("127.0.0.1", int(where)))


def exchange(kind, where):
    from pymodbus.client import ModbusSerialClient, ModbusTcpClient

    if kind == "rtu":
        client = ModbusSerialClient(port=where, framer=ModbusRtuFramer, baudrate=19200, timeout=3)
    else:
        client = ModbusTcpClient("127.0.0.1", port=int(where), timeout=3)
    if not client.connect():
        sys.exit("cannot connect")
    got = {}
    coils = [True, False, True, True, False, False, True, False, True]
    client.write_registers(10, [111, 222, 333, 65535], slave=1)
    got["registers"] = client.read_holding_registers(10, 4, slave=1).registers
    client.write_coils(5, coils, slave=1)
    got["coils"] = client.read_coils(5, len(coils), slave=1).bits[: len(coils)]
    client.write_register(20, 4242, slave=1)
    client.write_coil(30, True, slave=1)
    got["inputRegisters"] = client.read_input_registers(2, 3, slave=1).registers
    got["inputs"] = client.read_discrete_inputs(0, 8, slave=1).bits[:8]
    got["exception"] = client.read_holding_registers(1000, 2, slave=1).exception_code
    client.close()
    print(json.dumps(got))


if __name__ == "__main__":
    role, kind, where = sys.argv[1:4]
    if role == "server":
        serve(kind, where)
    else:
        exchange(kind, where)
