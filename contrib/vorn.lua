-- SPDX-License-Identifier: MIT
-- Wireshark dissector of the request protocol: put it into the folder of personal Lua plug-ins, or
--   tshark -X lua_script:vorn.lua -Y vorn
local names = {
    [0] = "no reply", [256] = "result", [257] = "add-subs", [258] = "remove-subs", [259] = "set-quota",
    [261] = "set-var", [262] = "report", [263] = "set-lang", [264] = "autoreport", [265] = "set-autoseq",
    [266] = "get-autoseq", [267] = "set-template", [269] = "full-action", [270] = "num-files",
    [271] = "autosave", [272] = "delete-all",
}
local vorn = Proto("vorn", "VORN requests")
local field = {
    length = ProtoField.uint32("vorn.length", "Length of the payload"),
    kind = ProtoField.uint16("vorn.type", "Type", base.DEC, names),
    zero = ProtoField.uint16("vorn.zero", "Always 0"),
    param1 = ProtoField.int32("vorn.param1", "param1"),
    param2 = ProtoField.int32("vorn.param2", "param2"),
    number = ProtoField.uint16("vorn.number", "Number"),
    text = ProtoField.string("vorn.text", "Text", base.UNICODE),
}
vorn.fields = field
local broken = ProtoExpert.new("vorn.broken", "This is no message of the protocol", expert.group.MALFORMED,
    expert.severity.ERROR)
vorn.experts = {broken}

local HEADER, PAYLOAD_MAX = 16, 65536

local function items(bytes, tree)
    local at = 0
    while at < bytes:len() do
        local left = bytes:len() - at
        local kind = bytes(at, 1):uint()
        if kind == 1 and left >= 3 then
            tree:add(field.number, bytes(at + 1, 2))
            at = at + 3
        elseif kind == 2 and left >= 3 and left >= 3 + bytes(at + 1, 2):uint() then
            local size = bytes(at + 1, 2):uint()
            tree:add(field.text, bytes(at, 3 + size), size > 0 and bytes(at + 3, size):string(ENC_UTF_8) or "")
            at = at + 3 + size
        else
            tree:add_proto_expert_info(broken)
            return
        end
    end
end

local function length(buffer, _, at)
    local payload = buffer(at, 4):uint()
    return payload <= PAYLOAD_MAX and HEADER + payload or buffer:len() - at
end

local function message(buffer, info, root)
    info.cols.protocol = "VORN"
    local tree = root:add(vorn, buffer())
    tree:add(field.length, buffer(0, 4))
    if buffer(0, 4):uint() > PAYLOAD_MAX or buffer:len() < HEADER then
        tree:add_proto_expert_info(broken)
        return buffer:len()
    end
    tree:add(field.kind, buffer(4, 2))
    tree:add(field.zero, buffer(6, 2))
    tree:add(field.param1, buffer(8, 4))
    tree:add(field.param2, buffer(12, 4))
    if buffer(6, 2):uint() ~= 0 then tree:add_proto_expert_info(broken) end
    if buffer:len() > HEADER then items(buffer(HEADER):tvb(), tree) end
    info.cols.info:append(" " .. (names[buffer(4, 2):uint()] or "unknown type"))
    return buffer:len()
end

function vorn.dissector(buffer, info, root)
    dissect_tcp_pdus(buffer, root, 4, length, message)
    return buffer:len()
end

DissectorTable.get("tcp.port"):add(55000, vorn)
