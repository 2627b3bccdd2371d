-- Each wrk thread (one connection each) writes its own item over the revision it
-- last saw, so every write lands: this measures successful writes, not conflicts.
local counter = 0

function setup(thread)
    counter = counter + 1
    thread:set("key", "bench-" .. counter)
end

local revision = 0
local payload = '{"schema":"vlm.session-settings","version":1,"settings":{"display":{"receive_msg_format":1,"font":{"family":"DejaVu Sans Mono","point_size":10}},"send_history":["AT","AT+GMR","hello world"]}}'

function request()
    local body = string.format('{"base_revision":%d,"payload":%s}', revision, payload)
    return wrk.format("PUT", "/api/v3/sync/items/settings.session/" .. key,
                      {["Authorization"] = "Bearer " .. os.getenv("VLM_BENCH_TOKEN"),
                       ["Content-Type"] = "application/json"}, body)
end

function response(status, headers, body)
    local saved = body:match('"revision":(%d+)')
    if saved then
        revision = tonumber(saved)
    end
end
