-- Dissects the captures that ids-core-monitor writes with --pcapng. Each packet is one event: 2 bytes each of the event
-- ID and of the sizes of frame header and time stamp, 2 zero bytes, then frame header, time stamp and context data as
-- received.

local ids = Proto("ids", "Security event")

local makers = {
    integer = ProtoField.uint32,
    constant = ProtoField.uint32,
    text = ProtoField.string,
    characters = ProtoField.string,
    bytes = ProtoField.bytes,
    address = ProtoField.ipv6,
    time = ProtoField.absolute_time,
}

local names = {}
for id, event in pairs(events) do
    names[id] = event.name
end

local f = {
    id = ProtoField.uint16("ids.id", "Event ID", base.HEX, names),
    producer = ProtoField.string("ids.producer", "Reported by"),
    frame = ProtoField.bytes("ids.frame", "Frame header"),
    timestamp = ProtoField.absolute_time("ids.timestamp", "Time stamp", base.UTC),
    context = ProtoField.bytes("ids.context", "Context data"),
    cut = ProtoField.string("ids.cut", "Cut"),
}
-- Fields of the same name are the same field in every event.
local defined = {}
local function define(fields)
    for _, field in ipairs(fields) do
        local key = field.name
        if not defined[key] then
            local abbreviation = "ids." .. key
            if field.mask then
                defined[key] = makers.integer(abbreviation, key, base.DEC, nil, field.mask)
            elseif field.kind == "time" then
                defined[key] = makers.time(abbreviation, key, base.UTC)
            else
                defined[key] = makers[field.kind](abbreviation, key)
            end
        end
        field.proto = defined[key]
    end
end

define(frame_header)
for _, event in pairs(events) do
    define(event.fields)
end
local all = {}
for _, one in pairs(f) do
    all[#all + 1] = one
end
for _, one in pairs(defined) do
    all[#all + 1] = one
end
ids.fields = all

local function text_of(range)
    local text = range:raw():gsub("%z+$", "")
    return text == string.rep("-", range:len()) and "" or text
end

local function add(tree, field, range)
    if field.kind == "text" or field.kind == "characters" then
        tree:add(field.proto, range, text_of(range))
    elseif field.kind == "time" then
        tree:add(field.proto, range, NSTime(range(6, 4):uint(), range(2, 4):uint()))
    else
        tree:add(field.proto, range)
    end
end

-- For the columns of the packet list.
local function printable(range)
    return (text_of(range):gsub("[^ -~]", ".")) -- a terminal interprets control characters
end
local readers = {
    integer = function(range) return tostring(range:uint()) end,
    text = printable,
    characters = printable,
    address = function(range) return tostring(range:ipv6()) end,
}
local columns = {sourceAddress = "src", destinationAddress = "dst"}

local function show(info, field, range)
    local read = not field.name:find("^reserved") and readers[field.kind]
    local value = read and read(range) or ""
    if columns[field.name] then
        info.cols[columns[field.name]] = value
    elseif value ~= "" then
        info.cols.info:append(" " .. field.name .. "=" .. value)
    end
end

local function add_fields(tree, fields, block, info)
    for _, field in ipairs(fields) do
        if field.offset + field.width > block:len() then
            tree:add(f.cut, block, "before " .. field.name)
            return
        end
        add(tree, field, block(field.offset, field.width))
        if info then
            show(info, field, block(field.offset, field.width))
        end
    end
end

function ids.dissector(buffer, info, root)
    local tree = root:add(ids, buffer())
    if buffer:len() < 8 then
        tree:add(f.cut, buffer(), "before the blocks")
        return
    end
    local id, frame_size, timestamp_size = buffer(0, 2):uint(), buffer(2, 2):uint(), buffer(4, 2):uint()
    local event = events[id]
    info.cols.protocol = "IDS"
    info.cols.info = string.format("0x%04X %s", id, event and event.name or "of another domain")
    tree:add(f.id, buffer(0, 2))
    if event then
        tree:add(f.producer, buffer(0, 2), event.producer):set_generated()
    end
    local rest = 8 + frame_size + timestamp_size
    if rest > buffer:len() then
        tree:add(f.cut, buffer(), "in the blocks")
        return
    end
    if frame_size > 0 then
        local block = buffer(8, frame_size)
        add_fields(tree:add(f.frame, block), frame_header, block)
    end
    if timestamp_size == 8 then
        local block = buffer(8 + frame_size, 8)
        tree:add(f.timestamp, block, NSTime(block(4, 4):uint(), block(0, 4):uint()))
    end
    if rest < buffer:len() then
        local block = buffer(rest)
        local context = tree:add(f.context, block)
        if event then
            add_fields(context, event.fields, block, info)
        end
    end
end

DissectorTable.get("wtap_encap"):add(wtap.USER0, ids)
