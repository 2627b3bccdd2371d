-- PING/PONG responder: plays a device that answers every "PING" it receives with
-- "PONG" and a line end, for as long as the script runs. Received data may arrive in
-- pieces, so the bytes are collected until a whole "PING" is there.

local pending = ""
local answered = 0

onReceive(function(bytes)
  pending = pending .. bytes
  while true do
    local at = pending:find("PING", 1, true)
    if not at then
      break
    end
    send("PONG\r\n")
    answered = answered + 1
    pending = pending:sub(at + 4)
  end
  -- Keep only what could be the start of the next "PING".
  if #pending > 3 then
    pending = pending:sub(-3)
  end
end)

onStop(function(how, why)
  print(string.format("answered %d PING(s)", answered))
end)

print("waiting for PING on " .. port.name)
idle()
