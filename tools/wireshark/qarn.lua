-- Shows recordings of `vsh --record` in Wireshark and tshark: each packet is an event of a display command, such as a
-- request to a service or a fragment of a reply. It needs Lua 5.2 or later.
--
-- docs/recordings.md has the format of the file, docs/wire-formats.md that of requests and replies, and
-- docs/wireshark.md what this file adds.
local protocol = Proto("qarn", "Recorded display command")

local HEADER_SIZE, MAGIC, VERSION = 24, 0x7161726e, 1
local GOES_ON, BIG_ENDIAN = 1, 2
local COMMAND, DESCRIPTION, REQUEST, MESSAGE, NOTHING, FACT, END = 1, 2, 3, 4, 5, 6, 7
local TO_SERVICES, FROM_SERVICES = 1, 2
local REPLY_OPCODE = 7664
local FIRST_OWN_FACT = 100 -- of a recording; those below are of the switch
local FRAGMENT_HEADER, REQUEST_SIZE, TLV_HEADER, FIRST_TLV = 16, 2740, 8, 12
local MESSAGE_HEADER, STAMP, SWAPPED_STAMP = 64, 0x1abcd, 0xcdab0100
local TEXT_MESSAGE, ATTRIBUTES_MESSAGE = 1, 2
local HIGHEST_LEVEL = 12
local MOST_ITEMS = 300000 -- in the tree of one packet; above a million, Wireshark gives up
local MOST_ZEROS = 1048576 -- that are added to a reply with missing bytes

local KINDS = {
    [COMMAND] = "Command", [DESCRIPTION] = "Description of the switch", [REQUEST] = "Request", [MESSAGE] = "Message",
    [NOTHING] = "No message", [FACT] = "Fact", [END] = "End"
}
local DIRECTIONS = {[0] = "None", [TO_SERVICES] = "To services", [FROM_SERVICES] = "From services"}
local OPCODES = {[0] = "None", [7663] = "Configuration request", [REPLY_OPCODE] = "Configuration reply"}
local FACTS = {
    [1] = "Folder of the saved text", [2] = "Folder of the saved elements", [3] = "Lock of the store",
    [4] = "Output of a program", [5] = "Result of a function", [6] = "Conversion library",
    [7] = "Begin of the conversion", [8] = "Converted text", [9] = "End of the conversion",
    [10] = "Problem of the store", [100] = "Time of the header", [101] = "Reason of silence",
    [102] = "Reason why nothing was sent"
}
local ERRNOS = {
    [3] = "ESRCH, no such service", [4] = "EINTR, interrupted", [9] = "EBADF, no such handle",
    [12] = "ENOMEM, no memory", [22] = "EINVAL, invalid", [32] = "EPIPE, the receiver is gone",
    [62] = "ETIME, the time is over", [90] = "EMSGSIZE, too large a message", [104] = "ECONNRESET, connection lost",
    [107] = "ENOTCONN, not connected", [110] = "ETIMEDOUT, timed out", [111] = "ECONNREFUSED, connection refused"
}
local SOURCES = {[1] = "running configuration", [2] = "startup configuration"}
local DISPLAYS = {
    [0] = "everything", [1] = "VSANs", [2] = "VLANs", [3] = "interfaces", [6] = "port profile", [7] = "BFD",
    [8] = "L2MP", [9] = "without L2MP", [10] = "FEX", [11] = "without FEX", [16] = "template"
}
local TARGETS = {[0] = "all services", [1] = "all services, in feature mode"}
local TAGS = {
    [0] = "Element", [1] = "Dependency", [2] = "Text", [3] = "Interface value", [5] = "Command message",
    [6] = "Key string", [7] = "Key"
}
local VALUE_KINDS = {[0] = "texts", [1] = "command messages"}
local DEPENDENCY_KINDS = {[0] = "order", [1] = "condition"}
local MESSAGE_TYPES = {[TEXT_MESSAGE] = "text", [ATTRIBUTES_MESSAGE] = "attributes"}
local ATTRIBUTES = {[0x30030003] = "Interface name"}
local PROPERTIES = {
    {"vsan", "VSAN", 0x01}, {"vlan", "VLAN", 0x02}, {"interface", "Interface", 0x04},
    {"conditional", "Conditional", 0x08}, {"placeholder", "Placeholder", 0x10}, {"bfd", "BFD", 0x20},
    {"l2mp", "L2MP", 0x40}, {"fex", "FEX", 0x80}
}

local f = {}

local function number(key, name, title, values)
    f[key] = ProtoField.uint32("qarn." .. name, title, base.DEC, values)
end
local function byte(key, name, title, values)
    f[key] = ProtoField.uint8("qarn." .. name, title, base.DEC, values)
end
local function hexadecimal(key, name, title, values)
    f[key] = ProtoField.uint32("qarn." .. name, title, base.HEX, values)
end
local function text(key, name, title)
    f[key] = ProtoField.string("qarn." .. name, title)
end
local function bytes(key, name, title)
    f[key] = ProtoField.bytes("qarn." .. name, title)
end
local function group(key, name, title)
    f[key] = ProtoField.none("qarn." .. name, title)
end
local function frame(key, name, title, kind)
    f[key] = ProtoField.framenum("qarn." .. name, title, base.NONE, kind)
end
local function flag(key, name, title, width, mask)
    f[key] = ProtoField.bool("qarn." .. name, title, width, {"yes", "no"}, mask)
end

-- The header of each packet.
group("header", "header", "Header")
hexadecimal("magic", "magic", "Magic")
byte("version", "version", "Version")
byte("kind", "kind", "Kind", KINDS)
byte("direction", "direction", "Direction", DIRECTIONS)
f.flags = ProtoField.uint8("qarn.flags", "Flags", base.HEX)
flag("goes_on", "flags.goes_on", "Goes on in the next packet", 8, GOES_ON)
flag("big_endian", "flags.big_endian", "Most significant byte first", 8, BIG_ENDIAN)
number("sap", "sap", "SAP")
number("opcode", "opcode", "Opcode", OPCODES)
number("value", "value", "Value")
number("length", "length", "Length")
bytes("data", "data", "Data")
text("service", "service", "Service")
frame("part", "part", "Other part of the event in")
-- Events without a format of their own.
text("command_line", "command.line", "Line")
text("command_display", "command.display", "Display")
text("command_option", "command.option", "Option")
text("description_line", "description.line", "Line")
number("errno", "errno", "Error", ERRNOS)
number("fact", "fact", "Fact", FACTS)
number("fact_number", "fact.number", "Number")
text("fact_text", "fact.text", "Text")
bytes("fact_data", "fact.data", "Data")
number("exit_code", "end.exit_code", "Exit code")
f.num_packets = ProtoField.uint64("qarn.end.packets", "Packets before the end")
f.text_size = ProtoField.uint64("qarn.end.text_size", "Bytes of the printed text")
f.text_sum = ProtoField.uint64("qarn.end.text_sum", "FNV-1a of the printed text", base.HEX)
-- Requests.
number("src_sap", "request.src_sap", "SAP of the requester")
text("vsans", "request.vsans", "VSANs")
text("vlans", "request.vlans", "VLANs")
hexadecimal("request_flags", "request.flags", "Flags of the command")
number("source", "request.source", "Configuration", SOURCES)
number("display_type", "request.display_type", "Variant of the display")
number("display", "request.display", "Display", DISPLAYS)
number("with_defaults", "request.with_defaults", "With defaults")
number("token", "request.token", "Token")
number("num_interfaces", "request.num_interfaces", "Number of interfaces")
number("target", "request.target", "Target", TARGETS)
number("num_excluded", "request.num_excluded", "Number of excluded services")
number("excluded", "request.excluded", "Excluded service")
text("startup_uri", "request.startup_uri", "URI of the startup store")
text("profile", "request.profile", "Port profile")
text("request_line", "request.line", "Command line")
hexadecimal("request_interface", "request.interface", "Interface")
frame("reply_frame", "request.reply", "Reply in", frametype.RESPONSE)
-- Fragments and replies.
group("fragment", "fragment", "Fragment")
number("fragment_last", "fragment.last", "Last")
number("fragment_total", "fragment.total", "Bytes of the reply")
number("fragment_sap", "fragment.sap", "SAP")
number("fragment_length", "fragment.length", "Bytes of data")
number("fragment_offset", "fragment.offset", "Offset in the reply")
frame("reply_in", "fragment.reply", "Last fragment of the reply in")
group("reply", "reply", "Reply")
number("reply_size", "reply.size", "Bytes that arrived")
frame("reply_fragment", "reply.fragment", "Fragment in")
frame("request_frame", "reply.request", "Request in", frametype.REQUEST)
f.time = ProtoField.relative_time("qarn.reply.time", "Time since the request")
number("status", "reply.status", "Status")
number("announced", "reply.announced", "TLVs, as announced")
number("array_size", "reply.array_size", "Bytes of the TLV array")
-- Elements and TLVs.
group("element", "element", "Element")
number("uuid", "element.uuid", "UUID")
number("id", "element.id", "Id")
number("level", "element.level", "Level")
hexadecimal("properties", "element.properties", "Properties")
number("value_kind", "element.values", "Kind of the interface values", VALUE_KINDS)
for _, property in ipairs(PROPERTIES) do
    flag("has_" .. property[1], "element.properties." .. property[1], property[2], 32, property[3])
end
group("tlv", "tlv", "TLV")
number("tag", "tlv.type", "Type", TAGS)
number("follow_up_tag", "tlv.follow_up_type", "Type, not read")
number("tlv_length", "tlv.length", "Length")
bytes("tlv_value", "tlv.value", "Value")
bytes("padding", "tlv.padding", "Padding")
group("follow_up", "tlv.follow_up", "Follow-up")
number("dependency_uuid", "dependency.uuid", "UUID")
number("dependency_id", "dependency.id", "Id")
number("dependency_kind", "dependency.kind", "Kind", DEPENDENCY_KINDS)
text("own_text", "text", "Text")
hexadecimal("interface", "interface.index", "Interface")
text("interface_text", "interface.text", "Text")
text("key_string_name", "key_string.name", "Name")
text("key_string_text", "key_string.text", "Text")
number("key_index", "key.index", "Index or VLAN")
text("key_map", "key.map", "Map")
text("key_name", "key.name", "Name")
group("message", "message", "Command message")
number("message_length", "message.length", "Length")
number("message_type", "message.type", "Type", MESSAGE_TYPES)
hexadecimal("debug_flags", "message.debug_flags", "Debug flags")
hexadecimal("stamp", "message.stamp", "Stamp")
text("message_text", "message.text", "Text")
bytes("message_data", "message.data", "Data")
group("attribute", "attribute", "Attribute")
hexadecimal("attribute_id", "attribute.id", "Id", ATTRIBUTES)
number("attribute_length", "attribute.length", "Length")
text("attribute_text", "attribute.value", "Value")
bytes("attribute_data", "attribute.data", "Data")
protocol.fields = f

local malformed = ProtoExpert.new("qarn.malformed", "Malformed", expert.group.MALFORMED, expert.severity.ERROR)
local unusual = ProtoExpert.new("qarn.unusual", "Unusual", expert.group.PROTOCOL, expert.severity.WARN)
local silent = ProtoExpert.new("qarn.no_reply", "No reply", expert.group.RESPONSE_CODE, expert.severity.WARN)
protocol.experts = {malformed, unusual, silent}

local num_items, num_faults, is_full = 0, 0, false -- of the packet that is being shown

local function warn(item, what) item:add_proto_expert_info(unusual, what) end

local function fail(item, what)
    num_faults = num_faults + 1
    item:add_proto_expert_info(malformed, what)
    return false
end

-- Whether a tree has room for more; the first one without room says so.
local function has_room(tree)
    if num_items < MOST_ITEMS then return true end
    if not is_full then warn(tree, "There is more than can be shown.") end
    is_full = true
    return false
end

-- Where texts of others appear in lines of this file: without what would move the cursor, and not too long.
local function one_line(string, most)
    string = string:gsub("\n", "\\n"):gsub("%c", "?")
    most = most or 72
    if #string <= most then return string end
    return string:sub(1, most):gsub("[\192-\255][\128-\191]*$", "") .. "…"
end

local function quoted(string) return '"' .. one_line(string) .. '"' end

local function counted(count, noun) return count .. " " .. noun .. (count == 1 and "" or "s") end

-- Bytes of a packet or of a joined reply, with the order of the bytes in their words.
local Block = {}
Block.__index = Block

function Block.new(tvb, from, size, is_big) -- "from" in `tvb`
    local self = {tvb = tvb, from = from, size = size, is_big = is_big}
    return setmetatable(self, Block)
end

function Block:range(at, size) return self.tvb:range(self.from + at, size) end

function Block:bytes()
    self.raw = self.raw or (self.size == 0 and "" or self.tvb:raw(self.from, self.size))
    return self.raw
end

function Block:word(at)
    local range = self:range(at, 4)
    return self.is_big and range:uint() or range:le_uint()
end

function Block:part(at, size) return Block.new(self.tvb, self.from + at, size, self.is_big) end

function Block:string(at, size) return size == 0 and "" or self:range(at, size):string(ENC_UTF_8) end

-- The number of bytes before the zero byte, or nil.
function Block:zero(at, size)
    local zero = self:bytes():find("\0", at + 1, true)
    if zero and zero - 1 - at < size then return zero - 1 - at end
end

function Block:add(tree, field, at, size)
    num_items = num_items + 1
    local range = self:range(at, size or 4)
    return self.is_big and tree:add(field, range) or tree:add_le(field, range)
end

function Block:add_text(tree, field, at, size)
    num_items = num_items + 1
    return (tree:add_packet_field(field, self:range(at, size), ENC_UTF_8))
end

-- What was found in the bytes, in place of its bytes.
function Block:add_found(tree, field, at, size, value)
    num_items = num_items + 1
    return tree:add(field, self:range(at, size), value)
end

-- Fields with offsets that follow each other, one word each: {field, offset}, ...
function Block:add_words(tree, words)
    for _, word in ipairs(words) do
        self:add(tree, word[1], word[2])
    end
end

-- A text as long as its field has no zero byte.
function Block:add_fixed_text(tree, field, at, size)
    return self:add_text(tree, field, at, self:zero(at, size) or size)
end

-- What is known of the open file: the command that its packets belong to, and what each packet turned out to be.
local state

local function new_command()
    return {
        names = {}, services = {}, -- by SAP and by UUID
        consumers = {}, -- SAPs of services that receive a request to all
        requests = {}, -- by SAP, 0: all
        asked = {}, is_asked = {}, -- SAPs in their order, and as a set
        open = {}, answers = {}, -- replies by SAP, without and with their last fragment
        packets = 0
    }
end

local function forget() state = {command = new_command(), packets = {}} end

protocol.init = forget
forget()

local function name_of(command, sap)
    local name = command.names[sap]
    return "SAP " .. sap .. (name and " (" .. name .. ")" or "")
end

local function add_frames(tree, field, frames)
    for _, frame_number in ipairs(frames) do
        if not has_room(tree) then return end
        num_items = num_items + 1
        tree:add(field, frame_number):set_generated()
    end
end

-- Following the command, when the packets are read in their order.

local function follow_description(command, _, data)
    for name, sap, uuid, rest in data:gmatch('name: "([^\n]-)", sap: (%d+), uuid: (%d+)([^\n]*)') do
        name, sap = name:gsub("[%c\128-\255]", "?"), tonumber(sap)
        command.names[sap] = name
        command.services[tonumber(uuid)] = name
        if not rest:find("consumer: false", 1, true) then table.insert(command.consumers, sap) end
    end
end

local function follow_request(command, memo)
    local request = {frame = memo.number, time = memo.time, sap = memo.header.sap, replies = {}}
    memo.request = request
    command.requests[request.sap] = request
    for _, sap in ipairs(request.sap == 0 and command.consumers or {request.sap}) do
        if not command.is_asked[sap] then table.insert(command.asked, sap) end
        command.is_asked[sap] = true
    end
end

local function words_of(data, is_big, count)
    local words = {}
    for i = 1, count do
        local a, b, c, d = data:byte(4 * i - 3, 4 * i)
        if is_big then a, b, c, d = d, c, b, a end
        words[i] = a + 256 * (b + 256 * (c + 256 * d))
    end
    return words
end

local function finish_reply(command, reply, number)
    reply.last = number
    reply.is_again = command.answers[reply.sap] ~= nil
    command.answers[reply.sap] = reply
    command.open[reply.sap] = nil
    if reply.request then table.insert(reply.request.replies, number) end
    reply.missing = math.max(reply.total - reply.size, 0)
    if reply.missing > 0 and reply.missing <= MOST_ZEROS then
        reply.parts[#reply.parts + 1] = ("\0"):rep(reply.missing)
    end
    if #reply.parts > 1 then reply.data = table.concat(reply.parts) end
    reply.parts = nil
end

local function follow_message(command, memo, data)
    if memo.header.opcode ~= REPLY_OPCODE or #data < FRAGMENT_HEADER then return end
    local last, total, sap = table.unpack(words_of(data, memo.header.is_big, 3))
    local request = command.requests[sap] or command.requests[0]
    local reply = command.open[sap] or {sap = sap, total = total, size = 0, parts = {}, frames = {}, request = request}
    command.open[sap] = reply
    memo.reply, memo.offset = reply, reply.size
    reply.parts[#reply.parts + 1] = data:sub(FRAGMENT_HEADER + 1)
    reply.frames[#reply.frames + 1] = memo.number
    reply.size = reply.size + #data - FRAGMENT_HEADER
    if last ~= 0 then finish_reply(command, reply, memo.number) end
end

local FOLLOW = {[DESCRIPTION] = follow_description, [REQUEST] = follow_request, [MESSAGE] = follow_message}

-- The event that a packet belongs to, which is whole with its last packet.
local function event_with(memo, data)
    local event = state.event
    memo.is_interruption = event ~= nil and event.kind ~= memo.header.kind
    if not event or memo.is_interruption then event = {kind = memo.header.kind, parts = {}, frames = {}} end
    event.parts[#event.parts + 1] = data
    event.frames[#event.frames + 1] = memo.number
    state.event = memo.header.goes_on and event or nil
    if memo.header.goes_on then return event end
    data = table.concat(event.parts)
    if #event.parts > 1 then event.data = data end
    event.parts = nil
    return event, data
end

local function follow(memo, data)
    if memo.header.kind == COMMAND and not state.event then state.command = new_command() end
    local command = state.command
    memo.command = command
    memo.packets_before = command.packets
    command.packets = command.packets + 1
    local whole
    memo.event, whole = event_with(memo, data)
    if whole and FOLLOW[memo.header.kind] then FOLLOW[memo.header.kind](command, memo, whole) end
end

-- The TLV array of a reply.
local Reader = {}
Reader.__index = Reader

function Reader.new(block, tree, services)
    local self = {
        block = block, tree = tree, services = services, next = FIRST_TLV, stop = block.size, announced = 0,
        counted = 0, elements = 0
    }
    return setmetatable(self, Reader)
end

function Reader:name(uuid, id)
    local service = self.services[uuid]
    return "(" .. uuid .. "," .. id .. ")" .. (service and " of " .. service or "")
end

-- The next TLV, or nil at the end and after a fault.
function Reader:take()
    local at, block = self.next, self.block
    if at + TLV_HEADER > self.stop then return end
    local tlv = {at = at, tag = block:word(at), begin = at + TLV_HEADER, size = block:word(at + 4)}
    if tlv.size > self.stop - tlv.begin then
        local item = block:add(self.tree, f.tlv, at, self.stop - at)
        block:add_words(item, {{f.tag, at}, {f.tlv_length, at + 4}})
        self:end_at(item, "The value has " .. tlv.size .. " bytes and leaves the reply.")
        return
    end
    tlv.finish = math.min(tlv.begin + math.ceil(tlv.size / 4) * 4, self.stop)
    self.next = tlv.finish
    self.counted = self.counted + 1
    return tlv
end

function Reader:end_at(item, what)
    self.has_ended = true
    return fail(item, what .. " Decoding ends here.")
end

-- Adds a TLV without its value.
function Reader:add(tree, tlv, field, tag_field)
    local block = self.block
    local item = block:add(tree, field, tlv.at, tlv.finish - tlv.at)
    block:add_words(item, {{tag_field, tlv.at}, {f.tlv_length, tlv.at + 4}})
    tlv.item = item
    return item
end

-- After the value, before follow-ups.
function Reader:add_padding(tlv)
    local at = tlv.begin + tlv.size
    if tlv.is_padded then return end
    tlv.is_padded = true
    if at < tlv.finish then self.block:add(tlv.item, f.padding, at, tlv.finish - at) end
end

function Reader:has_words(tlv, count)
    if tlv.size >= 4 * count then return true end
    if tlv.size > 0 then self.block:add(tlv.item, f.tlv_value, tlv.begin, tlv.size) end
    fail(tlv.item, "The value is shorter than " .. counted(count, "word") .. "; it is left out.")
    return false
end

-- Adds the text of a TLV and returns it; nil if decoding ends. It may go on beyond the TLV, to the next zero byte.
function Reader:text(tlv, field)
    local block = self.block
    if tlv.size == 0 then
        warn(tlv.item, "A text without a value counts as empty.")
        return ""
    end
    local size = block:zero(tlv.begin, block.size)
    if not size then
        block:add(tlv.item, f.tlv_value, tlv.begin, tlv.size)
        self:end_at(tlv.item, "The text has no zero byte.")
        return
    end
    block:add_text(tlv.item, field, tlv.begin, size)
    if size >= tlv.size then warn(tlv.item, "The text goes on beyond its TLV, to the next zero byte.") end
    if size < tlv.size - 1 then warn(tlv.item, "The bytes after the zero byte of the text are not read.") end
    return block:string(tlv.begin, size)
end

function Reader:follow_up(owner)
    self:add_padding(owner)
    local tlv = self:take()
    if not tlv then
        if not self.has_ended then self:end_at(owner.item, "A follow-up is missing.") end
        return
    end
    self:add(owner.item, tlv, f.follow_up, f.follow_up_tag)
    return tlv
end

-- The text of the next TLV, which belongs to `owner`.
function Reader:follow_up_text(owner, field, title)
    local tlv = self:follow_up(owner)
    local found = tlv and self:text(tlv, field)
    if not found then return end
    tlv.item:set_text(title .. ": " .. quoted(found))
    self:add_padding(tlv)
    return found
end

function Reader:close_element()
    if self.element then self.element:set_len(self.next_element - self.element_at) end
    self.element, self.value_kind = nil, nil
end

function Reader:open_element(tlv)
    local block, words = self.block, tlv.begin
    self.element = block:add(self.tree, f.element, tlv.at, tlv.finish - tlv.at)
    self.element_at = tlv.at
    self.elements = self.elements + 1
    self.value_kind = block:word(words + 16)
    local level = block:word(words + 8)
    local name = self:name(block:word(words), block:word(words + 4))
    self.element:set_text("Element " .. name .. ", level " .. level)
    if level > HIGHEST_LEVEL then warn(self.element, "Only levels 0 to " .. HIGHEST_LEVEL .. " are printed.") end
end

function Reader:act_on_element(tlv)
    self:close_element()
    if tlv.size < 20 then
        self:has_words(self:add_stray(tlv), 5)
        return "Element"
    end
    local block, at = self.block, tlv.begin
    self:open_element(tlv)
    self:add(self.element, tlv, f.tlv, f.tag)
    block:add_words(tlv.item, {{f.uuid, at}, {f.id, at + 4}, {f.level, at + 8}})
    local properties = block:add(tlv.item, f.properties, at + 12)
    for _, property in ipairs(PROPERTIES) do
        block:add(properties, f["has_" .. property[1]], at + 12)
    end
    block:add(tlv.item, f.value_kind, at + 16)
    return "Identity, level and properties"
end

function Reader:add_stray(tlv)
    self:add(self.tree, tlv, f.tlv, f.tag)
    return tlv
end

function Reader:act_on_dependency(tlv)
    if not self:has_words(tlv, 3) then return "Dependency" end
    local block, at = self.block, tlv.begin
    block:add_words(tlv.item, {{f.dependency_uuid, at}, {f.dependency_id, at + 4}, {f.dependency_kind, at + 8}})
    local name, kind = self:name(block:word(at), block:word(at + 4)), block:word(at + 8)
    if kind == 0 then return "After " .. name end
    if kind == 1 then return "Only if " .. name .. " has text" end
    warn(tlv.item, "The kind of the dependency is unknown.")
    return "Dependency on " .. name
end

function Reader:act_on_text(tlv)
    local found = self:text(tlv, f.own_text)
    return "Text" .. (found and ": " .. quoted(found) or "")
end

-- A message that is malformed ends decoding; a debug message is not looked at in other displays.
function Reader:command_message(tlv, field)
    local block, size = self.block:part(tlv.begin, tlv.size), tlv.size
    if size < MESSAGE_HEADER then
        if size > 0 then block:add(tlv.item, f.tlv_value, 0, size) end
        return nil, "A command message is shorter than its header."
    end
    local stamp = block:word(60)
    local item = block:add(tlv.item, field, 0, size)
    local words = {{f.message_length, 4}, {f.message_type, 8}, {f.debug_flags, 44}, {f.stamp, 60}}
    block:add_words(item, words)
    local length, kind = block:word(4), block:word(8)
    local is_whole = length >= MESSAGE_HEADER and length <= size
    local fault = not is_whole and "The length of the command message is wrong." or nil
    if stamp ~= STAMP and stamp ~= SWAPPED_STAMP then fault = "The command message has a wrong stamp." end
    return self:message_body(item, block, kind, is_whole and length or size), fault
end

function Reader:message_body(item, block, kind, stop)
    local size = stop - MESSAGE_HEADER
    if size == 0 then return "" end
    if kind == ATTRIBUTES_MESSAGE then return self:attributes(item, block, stop) end
    if kind ~= TEXT_MESSAGE then
        block:add(item, f.message_data, MESSAGE_HEADER, size)
        return ""
    end
    size = block:zero(MESSAGE_HEADER, size) or size
    block:add_text(item, f.message_text, MESSAGE_HEADER, size)
    return block:string(MESSAGE_HEADER, size)
end

-- Returns the value if it is a text.
local function add_attribute(item, block, at, size)
    local id = block:word(at)
    local attribute = block:add(item, f.attribute, at, TLV_HEADER + size)
    block:add_words(attribute, {{f.attribute_id, at}, {f.attribute_length, at + 4}})
    if size > 0 and ATTRIBUTES[id] then
        local length = block:zero(at + TLV_HEADER, size) or size
        block:add_text(attribute, f.attribute_text, at + TLV_HEADER, length)
        return block:string(at + TLV_HEADER, length)
    end
    if size > 0 then block:add(attribute, f.attribute_data, at + TLV_HEADER, size) end
    return ""
end

function Reader:attributes(item, block, stop)
    local at, names = MESSAGE_HEADER, ""
    while at + TLV_HEADER <= stop and has_room(item) do
        local size = block:word(at + 4)
        if size > stop - at - TLV_HEADER then
            fail(item, "An attribute leaves the command message.")
            break
        end
        names = names .. add_attribute(item, block, at, size)
        at = at + TLV_HEADER + math.ceil(size / 4) * 4
    end
    return names
end

function Reader:act_on_message(tlv)
    local found, fault = self:command_message(tlv, f.message)
    if fault then warn(tlv.item, fault .. " Only the debug display reads it.") end
    return "Command message" .. (found and ": " .. quoted(found) or "")
end

function Reader:interface_command(tlv, value)
    local found, fault = self:command_message(value, f.message)
    if fault then self:end_at(tlv.item, fault) end
    value.item:set_text("Value" .. (found and ": " .. quoted(found) or ""))
    self:add_padding(value)
    return found or ""
end

function Reader:interface_value(tlv)
    if self.value_kind ~= 1 then return self:follow_up_text(tlv, f.interface_text, "Value") end
    local value = self:follow_up(tlv)
    return value and self:interface_command(tlv, value)
end

function Reader:act_on_interface(tlv)
    if not self:has_words(tlv, 1) then
        self:follow_up(tlv)
        return "Interface value"
    end
    self.block:add(tlv.item, f.interface, tlv.begin)
    local title = ("Interface 0x%08x"):format(self.block:word(tlv.begin))
    local found = self:interface_value(tlv)
    return title .. (found and ": " .. quoted(found) or "")
end

function Reader:act_on_key_string(tlv)
    local name = self:text(tlv, f.key_string_name)
    if not name then return "Key string" end
    self:follow_up_text(tlv, f.key_string_text, "Text")
    return "Key string " .. quoted(name)
end

function Reader:act_on_key(tlv)
    local title = "Key"
    if self:has_words(tlv, 1) then
        self.block:add(tlv.item, f.key_index, tlv.begin)
        title = "Key " .. self.block:word(tlv.begin)
    end
    local map = self:follow_up_text(tlv, f.key_map, "Map")
    local name = map and self:follow_up_text(tlv, f.key_name, "Name")
    return title .. (name and ": " .. quoted(name) or "")
end

function Reader:act_on_unknown(tlv)
    if tlv.size > 0 then self.block:add(tlv.item, f.tlv_value, tlv.begin, tlv.size) end
    fail(tlv.item, "The type is unknown.")
    return "Unknown TLV " .. tlv.tag
end

local ACTIONS = {
    [1] = Reader.act_on_dependency, [2] = Reader.act_on_text, [3] = Reader.act_on_interface,
    [5] = Reader.act_on_message, [6] = Reader.act_on_key_string, [7] = Reader.act_on_key
}

function Reader:act_on(tlv)
    if tlv.tag == 0 then
        tlv.title = self:act_on_element(tlv)
    else
        self:add(self.element or self.tree, tlv, f.tlv, f.tag)
        if not self.element then fail(tlv.item, "The TLV belongs to no element.") end
        tlv.title = (ACTIONS[tlv.tag] or Reader.act_on_unknown)(self, tlv)
    end
    self:add_padding(tlv)
    tlv.item:set_text(tlv.title)
    tlv.item:set_len(self.next - tlv.at)
    self.next_element = self.next
end

function Reader:check_end()
    if not self.has_ended and self.counted ~= self.announced then
        fail(self.tree, "The array announces " .. counted(self.announced, "TLV") .. " and has " .. self.counted .. ".")
    end
    if self.counted >= self.announced and self.next < self.stop then
        local rest = self.block:add(self.tree, f.data, self.next, self.stop - self.next)
        fail(rest, "TLVs after the announced number are not read.")
    end
    if self.stop < self.block.size then
        local rest = self.block:add(self.tree, f.data, self.stop, self.block.size - self.stop)
        warn(rest, "These bytes come after the array.")
    end
end

function Reader:read()
    while self.counted < self.announced and not self.has_ended do
        if not has_room(self.tree) then break end
        local tlv = self:take()
        if not tlv then break end
        self:act_on(tlv)
    end
    self:close_element()
    if not is_full then self:check_end() end
end

local function read_array(reader)
    local block, tree = reader.block, reader.tree
    reader.announced = block:word(4)
    block:add(tree, f.announced, 4)
    local size = block:add(tree, f.array_size, 8)
    reader.stop = math.min(4 + block:word(8), block.size)
    if 4 + block:word(8) > block.size then fail(size, "The array's size leads beyond the reply.") end
    reader:read()
end

-- Returns what the list of packets says.
local function show_reply(block, tree, services)
    if block.size < 4 then
        fail(tree, "The reply has no status word.")
        return "malformed"
    end
    local status = block:add(tree, f.status, 0)
    if block:word(0) ~= 0 then
        warn(status, "The service reports a failure; the rest of the reply is not read.")
        return "failure status " .. block:word(0)
    end
    if block.size < FIRST_TLV then
        fail(tree, "The reply ends before its first TLV.")
        return "malformed"
    end
    local reader = Reader.new(block, tree, services)
    read_array(reader)
    local rest = is_full and ", and more than can be shown" or ""
    return counted(reader.elements, "element") .. ", " .. counted(reader.counted, "TLV") .. rest
end

-- Showing events. Each function adds to the tree and returns what the list of packets says.

local function show_lines(block, tree, field_of)
    local at, data = 0, block:bytes()
    while at < #data and has_room(tree) do
        local size = (data:find("\n", at + 1, true) or #data + 1) - 1 - at
        local field, from = field_of(data:sub(at + 1, at + size))
        block:add_text(tree, field, at + from, size - from)
        at = at + size + 1
    end
end

local function command_field(line)
    if line:find("^line ") then return f.command_line, 5 end
    if line:find("^display ") then return f.command_display, 8 end
    return f.command_option, 0
end

local function show_command(block, tree)
    show_lines(block, tree, command_field)
    local begin, finish = block:bytes():find("^line [^\n]*")
    if not begin then
        fail(tree, "The command has no line.")
        return "Command"
    end
    return "Command: " .. one_line(block:string(begin + 4, finish - begin - 4), 200)
end

local function show_description(block, tree)
    show_lines(block, tree, function() return f.description_line, 0 end)
    return "Description of the switch, " .. counted(block.size, "byte")
end

-- The ids of a mask as ranges.
local function ids_in(bits)
    if bits == ("\255"):rep(#bits) then return "all" end
    local ranges, first = {}, nil
    for id = 0, 8 * #bits do
        local is_in = id < 8 * #bits and math.floor(bits:byte(math.floor(id / 8) + 1) / 2 ^ (7 - id % 8)) % 2 == 1
        if is_in and not first then first = id end
        if first and not is_in then
            ranges[#ranges + 1] = first == id - 1 and tostring(first) or first .. "-" .. id - 1
            first = nil
        end
    end
    return #ranges > 0 and table.concat(ranges, ",") or "none"
end

local function add_mask(block, tree, field, at)
    block:add_found(tree, field, at, 516, ids_in(block:bytes():sub(at + 5, at + 516)))
end

local function add_list(block, tree, field, at, count, most)
    if count > most then fail(tree, "The request has fewer words than it announces.") end
    for i = 0, math.min(count, most) - 1 do
        if not has_room(tree) then return end
        block:add(tree, field, at + 4 * i)
    end
end

local REQUEST_WORDS = {
    {f.request_flags, 1040}, {f.source, 1044}, {f.display_type, 1048}, {f.display, 1052}, {f.with_defaults, 1056},
    {f.token, 1060}, {f.target, 1068}
}

local function show_request_fields(block, tree)
    block:add(tree, f.src_sap, 0)
    add_mask(block, tree, f.vsans, 4)
    add_mask(block, tree, f.vlans, 520)
    block:add_words(tree, REQUEST_WORDS)
    block:add(tree, f.num_excluded, 2096)
    add_list(block, tree, f.excluded, 1072, block:word(2096), 256)
    block:add_fixed_text(tree, f.startup_uri, 2100, 256)
    block:add_fixed_text(tree, f.profile, 2356, 128)
    block:add_fixed_text(tree, f.request_line, 2484, 256)
    block:add(tree, f.num_interfaces, 1064)
    local most = math.floor((block.size - REQUEST_SIZE) / 4)
    add_list(block, tree, f.request_interface, REQUEST_SIZE, block:word(1064), most)
end

local function show_request(block, tree, pinfo, memo)
    local sap = memo.header.sap
    local to = sap == 0 and "all services" or name_of(memo.command, sap)
    pinfo.cols.src, pinfo.cols.dst = "command", to
    add_frames(tree, f.reply_frame, memo.request.replies)
    if block.size < REQUEST_SIZE then
        fail(tree, "The request is shorter than " .. REQUEST_SIZE .. " bytes.")
        return "Request to " .. to
    end
    show_request_fields(block, tree)
    local source = SOURCES[block:word(1044)] or "unknown configuration"
    local display = DISPLAYS[block:word(1052)] or "unknown display"
    return "Request to " .. to .. ": " .. source .. ", " .. display
end

local function show_fragment_header(block, tree, memo)
    local item = block:add(tree, f.fragment, 0, block.size)
    block:add(item, f.fragment_last, 0)
    local total = block:add(item, f.fragment_total, 4)
    local sap = block:add(item, f.fragment_sap, 8)
    local length = block:add(item, f.fragment_length, 12)
    local reply = memo.reply
    if block:word(4) ~= reply.total then warn(total, "Only the total of the first fragment counts.") end
    if block:word(8) ~= memo.header.sap then warn(sap, "The packet has another SAP.") end
    if block:word(12) ~= block.size - FRAGMENT_HEADER then
        fail(length, "The message has " .. counted(block.size - FRAGMENT_HEADER, "byte") .. " of data.")
    end
    item:add(f.fragment_offset, memo.offset):set_generated()
    if reply.last and reply.last ~= memo.number then item:add(f.reply_in, reply.last):set_generated() end
    return item
end

local function why_unusable(reply)
    if reply.total < 4 then return "A reply has at least 4 bytes; no part of this one is used." end
    if reply.size > reply.total then return "There are more bytes than announced; no part of the reply is used." end
end

local function add_time(tree, memo)
    local time = memo.time - memo.reply.request.time
    local seconds = math.floor(time)
    tree:add(f.time, NSTime.new(seconds, math.floor((time - seconds) * 1e9))):set_generated()
end

local function add_origin(tree, memo)
    local reply = memo.reply
    add_frames(tree, f.reply_fragment, reply.frames)
    tree:add(f.reply_size, reply.size):set_generated()
    if not reply.request then return warn(tree, "This service was not asked.") end
    tree:add(f.request_frame, reply.request.frame):set_generated()
    add_time(tree, memo)
end

local function joined(block, reply)
    if not reply.data then return block:part(FRAGMENT_HEADER, block.size - FRAGMENT_HEADER) end
    local name = "Reply of SAP " .. reply.sap
    return Block.new(ByteArray.new(reply.data, true):tvb(name), 0, #reply.data, block.is_big)
end

local function show_whole_reply(block, tree, memo)
    local reply, command = memo.reply, memo.command
    local whole = joined(block, reply)
    local title = "Reply of " .. name_of(command, reply.sap) .. ", " .. counted(reply.size, "byte") .. " in " ..
        counted(#reply.frames, "fragment")
    local item = whole:add(tree, f.reply, 0, whole.size)
    item:set_text(title)
    add_origin(item, memo)
    if reply.is_again then warn(item, "The service has answered before.") end
    local why = why_unusable(reply)
    if why then
        fail(item, why)
        return title .. ", unusable"
    end
    if reply.missing > 0 then fail(item, counted(reply.missing, "byte") .. " missing; they read as zeros.") end
    return title .. ", " .. show_reply(whole, item, command.services)
end

local function show_other_message(block, tree, memo)
    if memo.header.opcode == REPLY_OPCODE then fail(tree, "The message is shorter than the header of a fragment.") end
    if block.size > 0 then block:add(tree, f.data, 0, block.size) end
    return "Message of " .. name_of(memo.command, memo.header.sap)
end

local function show_message(block, tree, pinfo, memo)
    local reply = memo.reply
    pinfo.cols.src, pinfo.cols.dst = name_of(memo.command, memo.header.sap), "command"
    if not reply then return show_other_message(block, tree, memo) end
    local item = show_fragment_header(block, tree, memo)
    if reply.last == memo.number then return show_whole_reply(block, tree, memo) end
    local size = block.size - FRAGMENT_HEADER
    if size > 0 then block:add(item, f.data, FRAGMENT_HEADER, size) end
    return "Fragment of " .. name_of(memo.command, reply.sap) .. ", bytes " .. memo.offset .. " to " ..
        memo.offset + size - 1 .. " of " .. reply.total
end

local function show_nothing(_, _, _, memo)
    local header = memo.header
    local what = header.direction == TO_SERVICES and "Nothing sent" or "Nothing received"
    return what .. ": " .. (ERRNOS[header.value] or "error " .. header.value)
end

-- Most facts have another number in the place of the SAP.
local function has_sap(header)
    return header.kind ~= FACT or header.opcode >= FIRST_OWN_FACT
end

local function show_fact(block, tree, _, memo)
    local title = FACTS[memo.header.opcode] or "Fact " .. memo.header.opcode
    if memo.header.sap ~= 0 and has_sap(memo.header) then
        title = title .. " of " .. name_of(memo.command, memo.header.sap)
    end
    if block.size == 0 then return title end
    if block:zero(0, block.size) then
        block:add(tree, f.fact_data, 0, block.size)
        return title .. ": " .. counted(block.size, "byte")
    end
    block:add_text(tree, f.fact_text, 0, block.size)
    return title .. ": " .. one_line(block:string(0, block.size))
end

-- Requests without an answer, and replies without their last fragment.
local function show_silent(tree, command)
    local count = 0
    for _, sap in ipairs(command.asked) do
        if not command.answers[sap] and has_room(tree) then
            local reply = command.open[sap]
            local part = reply and " has sent " .. reply.size .. " of " .. counted(reply.total, "byte")
            tree:add_proto_expert_info(silent, name_of(command, sap) .. (part or " has not answered") .. ".")
            count = count + 1
            num_items = num_items + 1
        end
    end
    return count > 0 and ", " .. counted(count, "service") .. " without a whole reply" or ""
end

local function show_end(block, tree, _, memo)
    if block.size ~= 8 and block.size ~= 24 then
        fail(tree, "The end has neither 8 nor 24 bytes.")
    else
        local numbers = {f.num_packets, f.text_size, f.text_sum}
        for i = 1, block.size / 8 do
            tree:add(numbers[i], block:range(8 * (i - 1), 8))
        end
        if block:range(0, 8):uint64() ~= UInt64(memo.packets_before) then
            fail(tree, "Packets are missing: there are " .. memo.packets_before .. " before the end.")
        end
    end
    return "End, exit code " .. memo.header.value .. show_silent(tree, memo.command)
end

local SHOW = {
    [COMMAND] = show_command, [DESCRIPTION] = show_description, [REQUEST] = show_request, [MESSAGE] = show_message,
    [NOTHING] = show_nothing, [FACT] = show_fact, [END] = show_end
}

-- The header of a packet, which is in network byte order.

local function header_in(tvb)
    local flags = tvb:range(7, 1):uint()
    return {
        version = tvb:range(4, 1):uint(), kind = tvb:range(5, 1):uint(), direction = tvb:range(6, 1):uint(),
        goes_on = flags % 2 == 1, is_big = math.floor(flags / BIG_ENDIAN) % 2 == 1, sap = tvb:range(8, 4):uint(),
        opcode = tvb:range(12, 4):uint(), value = tvb:range(16, 4):uint(), length = tvb:range(20, 4):uint()
    }
end

local function field_of_value(kind)
    if kind == NOTHING then return f.errno end
    return kind == END and f.exit_code or f.value
end

local function show_header(tvb, root, header)
    local tree = root:add(f.header, tvb:range(0, HEADER_SIZE))
    tree:set_text("Header: " .. (KINDS[header.kind] or "unknown kind"))
    tree:add(f.magic, tvb:range(0, 4))
    local version = tree:add(f.version, tvb:range(4, 1))
    local kind = tree:add(f.kind, tvb:range(5, 1))
    tree:add(f.direction, tvb:range(6, 1))
    local flags = tree:add(f.flags, tvb:range(7, 1))
    flags:add(f.goes_on, tvb:range(7, 1))
    flags:add(f.big_endian, tvb:range(7, 1))
    tree:add(has_sap(header) and f.sap or f.fact_number, tvb:range(8, 4))
    tree:add(header.kind == FACT and f.fact or f.opcode, tvb:range(12, 4))
    tree:add(field_of_value(header.kind), tvb:range(16, 4))
    local length = tree:add(f.length, tvb:range(20, 4))
    if header.version ~= VERSION then fail(version, "Only version " .. VERSION .. " is known.") end
    if not KINDS[header.kind] then fail(kind, "The kind is unknown.") end
    if header.length ~= tvb:len() - HEADER_SIZE then
        fail(length, "The packet has " .. counted(tvb:len() - HEADER_SIZE, "byte") .. " of data.")
    end
end

local function show_event(tvb, tree, pinfo, memo)
    local event, size = memo.event, math.min(memo.header.length, tvb:len() - HEADER_SIZE)
    if memo.is_interruption then fail(tree, "The event in the packet before should go on here.") end
    for _, number in ipairs(event.frames) do
        if number ~= memo.number then tree:add(f.part, number):set_generated() end
    end
    if event.frames[#event.frames] ~= memo.number or memo.header.goes_on then
        if size > 0 then tree:add(f.data, tvb:range(HEADER_SIZE, size)) end
        return "Part of an event: " .. (KINDS[memo.header.kind] or "unknown")
    end
    local block = Block.new(tvb, HEADER_SIZE, size, memo.header.is_big)
    if event.data then
        block = Block.new(ByteArray.new(event.data, true):tvb("Event"), 0, #event.data, memo.header.is_big)
    end
    return SHOW[memo.header.kind](block, tree, pinfo, memo)
end

local function memo_of(tvb, pinfo)
    local memo = state.packets[pinfo.number]
    if memo then return memo end
    memo = {header = header_in(tvb), number = pinfo.number, time = pinfo.rel_ts}
    state.packets[pinfo.number] = memo
    local size = math.min(memo.header.length, tvb:len() - HEADER_SIZE)
    if memo.header.version == VERSION and KINDS[memo.header.kind] then
        follow(memo, size == 0 and "" or tvb:raw(HEADER_SIZE, size))
    end
    return memo
end

local function show_packet(tvb, tree, pinfo)
    local memo = memo_of(tvb, pinfo)
    show_header(tvb, tree, memo.header)
    local name = memo.command and memo.command.names[memo.header.sap]
    if name and has_sap(memo.header) then tree:add(f.service, name):set_generated() end
    if memo.event then return show_event(tvb, tree, pinfo, memo) end
    if tvb:len() > HEADER_SIZE then tree:add(f.data, tvb:range(HEADER_SIZE)) end
    return "Unknown event"
end

local encapsulations = DissectorTable.get("wtap_encap")
local former = encapsulations:get_dissector(wtap.USER0)

-- Packets of others go to whoever has had them without this file.
function protocol.dissector(tvb, pinfo, root)
    if tvb:len() < HEADER_SIZE or tvb:range(0, 4):uint() ~= MAGIC then
        if former and not state.packets[1] then return former:call(tvb, pinfo, root) end
        fail(root:add(protocol, tvb:range()), "This is no packet of a recording.")
        pinfo.cols.info = "No packet of a recording"
        return tvb:len()
    end
    num_items, num_faults, is_full = 0, 0, false
    pinfo.cols.protocol = "QARN"
    local tree = root:add(protocol, tvb:range())
    local info = show_packet(tvb, tree, pinfo)
    tree:append_text(": " .. info)
    pinfo.cols.info = info .. (num_faults > 0 and " [malformed]" or "")
    return tvb:len()
end

encapsulations:add(wtap.USER0, protocol)
