-- AT command regression: sends each command of the table below, waits for its
-- answer, and counts what passed. The summary is printed when the run ends, however
-- it ends.
--
-- Change the table to suit your device. `expect` is the text that means success;
-- "ERROR" always means failure; no answer within `timeout` ms is a failure too.

local tests = {
  { command = "AT",          expect = "OK" },
  { command = "ATE0",        expect = "OK" },
  { command = "AT+GMR",      expect = "OK" },
  { command = "AT+CSQ",      expect = "+CSQ:" },
  { command = "AT+CGMI",     expect = "OK", timeout = 3000 },
}

local passed, failed = 0, 0
local failures = {}

onStop(function(how, why)
  print(string.format("%d passed, %d failed of %d (%s)", passed, failed, #tests, how))
  for _, line in ipairs(failures) do
    print("  " .. line)
  end
end)

for _, test in ipairs(tests) do
  sendLine(test.command)
  local text, index = tryExpectAny({ test.expect, "ERROR" }, test.timeout or 2000)
  if index == 1 then
    passed = passed + 1
    print("PASS " .. test.command)
  else
    failed = failed + 1
    local reason = index == 2 and "answered ERROR" or "no answer"
    failures[#failures + 1] = test.command .. ": " .. reason
    print("FAIL " .. test.command .. " (" .. reason .. ")")
  end
  sleep(100)
end

if failed > 0 then
  fail(string.format("%d of %d commands failed", failed, #tests))
end
