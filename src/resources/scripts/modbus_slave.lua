-- Modbus RTU slave: answers function 3 (read holding registers) and function 6 (write
-- single register) for one slave address, with 100 holding registers. Any other
-- function gets exception 1, a register outside the table exception 2, and a count out
-- of range exception 3. Requests for other addresses are ignored.
--
-- Requests of both functions are 8 bytes long. Bytes are collected as they arrive; a
-- frame whose CRC does not check is slid over by one byte until one does, and a
-- partial frame older than 100 ms is thrown away.

local SLAVE = 1
local REGISTER_COUNT = 100

local registers = {}
for address = 0, REGISTER_COUNT - 1 do
  registers[address] = 0
end
registers[0] = 1234
registers[1] = 5678

local frame = ""
local lastByteAt = 0

local function reply(pdu)
  send(appendChecksum(string.char(SLAVE) .. pdu, "crc16modbus"))
end

local function exception(functionCode, code)
  reply(string.char(functionCode | 0x80, code))
end

local function readHolding(request)
  local first, count = string.unpack(">I2I2", request, 3)
  if count < 1 or count > 125 then
    return exception(3, 3)
  end
  if first + count > REGISTER_COUNT then
    return exception(3, 2)
  end
  local words = {}
  for address = first, first + count - 1 do
    words[#words + 1] = string.pack(">I2", registers[address])
  end
  reply(string.char(3, count * 2) .. table.concat(words))
end

local function writeSingle(request)
  local address, value = string.unpack(">I2I2", request, 3)
  if address >= REGISTER_COUNT then
    return exception(6, 2)
  end
  registers[address] = value
  log(string.format("register %d = %d", address, value))
  reply(request:sub(2, 6))
end

local function handle(request)
  local address, functionCode = request:byte(1, 2)
  if address ~= SLAVE then
    return
  end
  if functionCode == 3 then
    readHolding(request)
  elseif functionCode == 6 then
    writeSingle(request)
  else
    exception(functionCode, 1)
  end
end

onReceive(function(bytes)
  if now() - lastByteAt > 100 then
    frame = ""
  end
  lastByteAt = now()
  frame = frame .. bytes
  while #frame >= 8 do
    local candidate = frame:sub(1, 8)
    if verifyChecksum(candidate, "crc16modbus") then
      handle(candidate)
      frame = frame:sub(9)
    else
      frame = frame:sub(2)
    end
  end
end)

print(string.format("Modbus RTU slave %d on %s", SLAVE, port.name))
idle()
