-- Shows in Wireshark and tshark (4.0 and later) what browser, player and console say to each other:
--
--     tshark -X lua_script:html5_video.lua -r capture.pcapng
--
-- or for good: copy it to ~/.local/lib/wireshark/plugins. The frames are those of docs/protocol.md
-- and docs/console.md; "html5_video" is the protocol of browser and player, "html5_video_console"
-- that of the console. The ports are preferences of both. What breaks the rules carries an expert
-- info of the severity "error": html5_video.malformed, html5_video_console.malformed. A frame whose
-- end never comes has "incomplete" in place of "malformed".
--
-- Every length is checked against the bytes that are there, and each turn of a loop consumes some.

local MAX_LENGTH = 2097152 -- of a frame, as the receivers have it
local MAX_ARGUMENTS = 65535 -- of a record, likewise
local MAX_SHOWN = 100 -- arguments of a record; more would only fill the tree
local MAX_TEXT = 80 -- bytes of a text in the info column
local MAX_INFO = 6 -- frames of one packet there
local LENGTH_SIZE = 4

local METHOD_CODE = "\0\0\0\x47"
local START_CODE = "\0\0\0\x48"

local video = Proto("html5_video", "HTML5 Video")
local console = Proto("html5_video_console", "HTML5 Video Console")

-- Fields --------------------------------------------------------------------------------------

local MEDIA_STATUS = {
    [0] = "unknown",
    [1] = "idle",
    [2] = "loading",
    [3] = "paused",
    [4] = "playing",
    [5] = "buffering",
    [6] = "ended",
    [100] = "error: not found",
    [101] = "error: unsupported",
    [102] = "error: damaged",
    [103] = "error: not readable",
    [104] = "error: internal",
}

local fields = {
    length = ProtoField.int32("html5_video.length", "Length"),
    code = ProtoField.bytes("html5_video.code", "Method code"),
    method = ProtoField.string("html5_video.method", "Method"),
    name = ProtoField.string("html5_video.argument.name", "Name"),
    integer = ProtoField.int32("html5_video.argument.integer", "Integer"),
    text = ProtoField.string("html5_video.argument.text", "Text"),
    block = ProtoField.bytes("html5_video.argument.block", "Block"),
    null = ProtoField.none("html5_video.argument.null", "Null text"),
    reply_to = ProtoField.string("html5_video.reply_to", "Reply to"),
    request_in = ProtoField.framenum("html5_video.request_in", "Request in", base.NONE,
                                     frametype.REQUEST),
    reply_in = ProtoField.framenum("html5_video.reply_in", "Reply in", base.NONE,
                                   frametype.RESPONSE),
}

-- What a command's argument is called in a filter, by method and name: html5_video.load.url.
local COMMANDS = {
    load = {{"url", "string"}},
    cancelLoad = {},
    play = {},
    pause = {},
    seek = {{"ms", "int32"}},
    setRate = {{"speed", "int32"}},
    setVolume = {{"v", "int32"}},
    setSize = {{"w", "int32"}, {"h", "int32"}},
    setMuted = {{"m", "int32"}},
}

-- SetStatus by position: html5_video.status.play_time. The last four are halves of two numbers.
local STATUS = {
    {"play_time", "Play time (ms)"},
    {"end_time", "End time (ms)"},
    {"speed", "Speed (hundredths)"},
    {"value3", "Status value 3"},
    {"media", "Media status", MEDIA_STATUS},
    {"width", "Video width"},
    {"height", "Video height"},
    {"in_seek", "In seek"},
    {"total_bytes", "Total bytes"},
    {"total_bytes"},
    {"current_offset", "Current offset"},
    {"current_offset"},
}
local STATUS_MEDIA, STATUS_FIRST_HALF = 5, 9

local argument_fields = {} -- by "method name"
local status_fields = {} -- by position

local function make_fields()
    for method, arguments in pairs(COMMANDS) do
        for _, argument in ipairs(arguments) do
            local abbreviation = ("html5_video.%s.%s"):format(method:lower(), argument[1])
            argument_fields[method .. " " .. argument[1]] =
                ProtoField[argument[2]](abbreviation, argument[1])
        end
    end
    for position, status in ipairs(STATUS) do
        if status[2] then
            local make = position < STATUS_FIRST_HALF and ProtoField.int32 or ProtoField.uint64
            status_fields[position] =
                make("html5_video.status." .. status[1], status[2], base.DEC, status[3])
        end
    end
    local all = {}
    for _, list in ipairs({fields, argument_fields, status_fields}) do
        for _, field in pairs(list) do
            all[#all + 1] = field
        end
    end
    return all
end
video.fields = make_fields()

local console_fields = {
    magic = ProtoField.string("html5_video_console.magic", "Magic"),
    length = ProtoField.uint32("html5_video_console.length", "Length"),
    line = ProtoField.string("html5_video_console.line", "Line"),
    prompt = ProtoField.string("html5_video_console.prompt", "Prompt"),
}
console.fields = console_fields

local malformed = ProtoExpert.new("html5_video.malformed", "Malformed frame",
                                  expert.group.MALFORMED, expert.severity.ERROR)
local unusual = ProtoExpert.new("html5_video.unusual", "Unusual frame", expert.group.PROTOCOL,
                                expert.severity.WARN)
local incomplete = ProtoExpert.new("html5_video.incomplete", "Incomplete frame",
                                   expert.group.REASSEMBLE, expert.severity.CHAT)
video.experts = {malformed, unusual, incomplete}

local console_malformed = ProtoExpert.new("html5_video_console.malformed", "Malformed frame",
                                          expert.group.MALFORMED, expert.severity.ERROR)
local console_incomplete = ProtoExpert.new("html5_video_console.incomplete", "Incomplete frame",
                                           expert.group.REASSEMBLE, expert.severity.CHAT)
console.experts = {console_malformed, console_incomplete}

-- What both protocols need --------------------------------------------------------------------

-- The range's text for a label: of one line, and not long. What is no UTF-8 is replaced.
local function shown(range)
    if range:len() == 0 then
        return '""'
    end
    local text = range:string(ENC_UTF_8):gsub("%c", ".")
    if #text > MAX_TEXT then
        return text:sub(1, MAX_TEXT):gsub("[\xC0-\xFF][\x80-\xBF]*$", "") .. "..."
    end
    return text
end

local function add_text(tree, field, range)
    if range:len() > 0 then
        return tree:add_packet_field(field, range, ENC_UTF_8)
    end
    return tree:add(field, range, "")
end

-- A packet may be handed over in pieces; this is the number of the piece's next frame in it.
local function next_index(pinfo, key)
    local index = (tonumber(pinfo.private[key]) or 0) + 1
    pinfo.private[key] = tostring(index)
    return index
end

local function add_info(pinfo, index, text)
    if index == 1 then
        pinfo.cols.info:set(text)
    elseif index <= MAX_INFO then
        pinfo.cols.info:append("; " .. text)
    elseif index == MAX_INFO + 1 then
        pinfo.cols.info:append("; ...")
    end
end

-- Marks the beginning of a frame at the offset, and asks for what it lacks: that many bytes, or
-- DESEGMENT_ONE_MORE_SEGMENT.
local function wait_for_rest(protocol, note, tvb, pinfo, tree, offset, missing)
    local node = tree:add(protocol, tvb(offset), protocol.description .. ", a frame's beginning")
    if pinfo.can_desegment > 0 and tvb:len() == tvb:reported_len() then
        node:add_proto_expert_info(note, "The rest is in a later segment")
        pinfo.desegment_offset = offset
        pinfo.desegment_len = missing
    else
        node:add_proto_expert_info(note, "The rest was not captured, or is not reassembled")
    end
end

-- How many bytes from the offset on are words of four bytes that the condition holds for. What a
-- receiver drops word by word is shown at once: there may be thousands.
local function words_while(tvb, offset, condition)
    local bytes = tvb:raw(offset, tvb:len() - offset)
    local size = 0
    while size + 4 <= #bytes and condition(bytes:sub(size + 1, size + 4)) do
        size = size + 4
    end
    return size
end

-- Records ---------------------------------------------------------------------------------------

local function padded(length)
    return (math.floor(length / 4) + 1) * 4
end

-- A text of the bytes that begins at the position and its padded size; nothing without its NUL.
local function text_at(bytes, at)
    local zero = bytes:find("\0", at, true)
    if zero then
        return bytes:sub(at, zero - 1), padded(zero - at)
    end
end

local function number_at(bytes, at)
    if at + 3 <= #bytes then
        local b0, b1, b2, b3 = bytes:byte(at, at + 3)
        local value = b0 + b1 * 0x100 + b2 * 0x10000 + b3 * 0x1000000
        return value < 0x80000000 and value or value - 0x100000000
    end
end

-- The value of an argument: what it is, where it stands, and its size. Nothing when it is cut.
local function value_at(bytes, kind, at)
    if kind == "i" then
        local value = number_at(bytes, at)
        return value, at, value and 4
    elseif kind == "s" then
        local value, size = text_at(bytes, at)
        return value, at, size
    elseif kind == "b" then
        local length = number_at(bytes, at)
        if length and length >= 0 then
            return bytes:sub(at + 4, at + 3 + length), at + 4, length, 4
        end
    elseif kind == "n" then
        return "", at, 0
    end
end

-- Decodes the record that begins at the position: a list of arguments with their places in the
-- bytes, or nothing and what is wrong.
local function parse_record(bytes, at)
    if bytes:sub(at, at + 3) ~= START_CODE then
        return nil, "a record with a wrong start code"
    end
    local types, size = text_at(bytes, at + 4)
    if not types then
        return nil, "type codes without their end"
    end
    if #types > MAX_ARGUMENTS then
        return nil, ("more than %d arguments"):format(MAX_ARGUMENTS)
    end
    local arguments = {}
    at = at + 4 + size
    for index = 1, #types do
        local argument = {kind = types:sub(index, index), at = at}
        argument.name, size = text_at(bytes, at)
        if not argument.name then
            return nil, ("argument %d: a name without its end"):format(index)
        end
        local prefix
        argument.value, argument.value_at, argument.size, prefix =
            value_at(bytes, argument.kind, at + size)
        if not argument.value then
            return nil, ("argument %d: cut, or of no known type"):format(index)
        end
        at = at + size + (prefix or 0) + argument.size
        argument.stop = at
        if at > #bytes + 1 then
            return nil, ("argument %d: runs past the end of the frame"):format(index)
        end
        arguments[index] = argument
    end
    return arguments
end

-- One frame's bytes in the tvb: range(at, size) counts from 1 as the strings do.
local function ranger(tvb, offset)
    return function(at, size)
        return tvb(offset + at - 1, size)
    end
end

local GENERIC = {i = fields.integer, s = fields.text, b = fields.block, n = fields.null}

local function add_value(tree, field, range, argument)
    if argument.kind == "i" then
        return tree:add(field, range(argument.value_at, 4), argument.value)
    elseif argument.kind == "s" then
        return add_text(tree, field, range(argument.value_at, #argument.value))
    end
    return tree:add(field, range(argument.value_at, argument.size))
end

local function add_generic(tree, range, argument)
    local name = range(argument.at, #argument.name)
    local node = tree:add(range(argument.at, argument.stop - argument.at),
                          "Argument: " .. shown(name))
    add_text(node, fields.name, name)
    add_value(node, GENERIC[argument.kind], range, argument)
end

local function add_arguments(tree, range, arguments)
    for index, argument in ipairs(arguments) do
        if index > MAX_SHOWN then
            tree:add(("%d more arguments"):format(#arguments - MAX_SHOWN))
            return
        end
        add_generic(tree, range, argument)
    end
end

-- The value in the info column.
local function label_of(range, argument)
    if argument.kind == "i" then
        return tostring(argument.value)
    elseif argument.kind == "s" then
        return shown(range(argument.value_at, #argument.value))
    end
    return argument.kind == "n" and "null" or ("%d bytes"):format(argument.size)
end

local function add_command(tree, range, method, arguments)
    local info = {method}
    local given = {}
    for index, argument in ipairs(arguments) do
        local field = argument_fields[method .. " " .. argument.name]
        local wanted = argument.kind == (field == argument_fields["load url"] and "s" or "i")
        if field and wanted then
            add_value(tree, field, range, argument)
            given[argument.name] = true
        elseif index <= MAX_SHOWN then
            add_generic(tree, range, argument)
            given[argument.name] = argument.kind == "n" and method == "load"
        end
        if index <= 2 then
            info[#info + 1] = label_of(range, argument)
        end
    end
    for _, argument in ipairs(COMMANDS[method]) do
        if not given[argument[1]] then
            tree:add_proto_expert_info(unusual, ("%s needs \"%s\", of the right type")
                                                    :format(method, argument[1]))
        end
    end
    return table.concat(info, " ")
end

-- Reports are taken by position, and what is missing or no integer counts as 0.
local function add_status(tree, range, arguments)
    local values = {}
    for position, status in ipairs(STATUS) do
        local argument = arguments[position]
        local usable = argument and argument.kind == "i"
        values[position] = usable and argument.value or 0
        if not usable and not (argument and argument.kind == "n") then
            tree:add_proto_expert_info(unusual, ("Position %d (%s) is missing or no integer")
                                           :format(position - 1, status[1]))
        elseif position < STATUS_FIRST_HALF then
            tree:add(status_fields[position], range(argument.at, argument.stop - argument.at),
                     values[position])
        elseif not status[2] then
            local high = arguments[position - 1] or argument
            tree:add(status_fields[position - 1], range(high.at, argument.stop - high.at),
                     UInt64.new(values[position] % 0x100000000, values[position - 1] % 0x100000000))
        end
    end
    if #arguments > #STATUS then
        tree:add_proto_expert_info(unusual, ("%d arguments more than are taken")
                                       :format(#arguments - #STATUS))
    end
    local media = values[STATUS_MEDIA]
    return ("SetStatus %s, %d of %d ms"):format(MEDIA_STATUS[media] or media, values[1], values[2])
end

-- Requests and replies --------------------------------------------------------------------------

-- Replies come in the order of their requests, on the same connection. Filled at the first pass.
local waiting = {} -- by connection: the requests without a reply, first and last
local exchanges = {} -- by packet and index of the frame in it: method, request's and reply's packet

local stream_of = Field.new("tcp.stream")

function video.init()
    waiting, exchanges = {}, {}
end

local function exchange_of(pinfo, index, method)
    local key = pinfo.number .. "/" .. index
    if not pinfo.visited and not exchanges[key] then
        local stream = stream_of().value
        local queue = waiting[stream] or {first = 1, last = 0}
        waiting[stream] = queue
        if method then
            queue.last = queue.last + 1
            queue[queue.last] = {method = method, request = pinfo.number}
            exchanges[key] = queue[queue.last]
        elseif queue.first <= queue.last then
            exchanges[key] = queue[queue.first]
            exchanges[key].reply = pinfo.number
            queue[queue.first] = nil
            queue.first = queue.first + 1
        end
    end
    return exchanges[key]
end

-- Each shows one frame's payload; returns the text for the info column, and what is wrong with it.
local function show_request(tree, range, bytes, pinfo, index)
    if #bytes < #METHOD_CODE or bytes:sub(1, 4) ~= METHOD_CODE then
        return "request", "a wrong method code: dropped without a reply"
    end
    tree:add(fields.code, range(1, 4))
    local method, size = text_at(bytes, 5)
    if not method then
        return "request", "a method without its end: the receiver closes the connection"
    end
    local label = shown(range(5, #method))
    add_text(tree, fields.method, range(5, #method))
    local exchange = exchange_of(pinfo, index, label)
    if exchange and exchange.reply then
        tree:add(fields.reply_in, exchange.reply):set_generated()
    end
    local arguments, problem = parse_record(bytes, 5 + size)
    if not arguments then
        return label, problem .. ": taken as a record without arguments"
    end
    if method == "SetStatus" then
        return add_status(tree, range, arguments)
    elseif COMMANDS[method] then
        return add_command(tree, range, method, arguments)
    end
    tree:add_proto_expert_info(unusual, "A method that neither browser nor player knows")
    add_arguments(tree, range, arguments)
    return label
end

local function show_reply(tree, range, bytes, pinfo, index)
    local exchange = exchange_of(pinfo, index)
    local info = "reply"
    if exchange then
        info = "reply to " .. exchange.method
        tree:add(fields.reply_to, exchange.method):set_generated()
        tree:add(fields.request_in, exchange.request):set_generated()
    end
    if #bytes == 0 then
        return info
    end
    local arguments, problem = parse_record(bytes, 1)
    if not arguments then
        return info, problem
    end
    add_arguments(tree, range, arguments)
    return info
end

local function is_zero(word)
    return word == "\0\0\0\0"
end

-- What is wrong with the length at the offset, and the size of what is wrong.
local function length_problem(tvb, offset, length, is_request)
    if length > MAX_LENGTH then
        return ("a length above %d"):format(MAX_LENGTH), tvb:len() - offset
    elseif length < 0 and is_request then
        return "a negative length: the receiver closes the connection", tvb:len() - offset
    elseif length < 0 then
        return "a negative length: taken as 0", LENGTH_SIZE
    elseif length == 0 and is_request then
        local size = words_while(tvb, offset, is_zero)
        return ("a length of 0, %d times: no reply"):format(size / LENGTH_SIZE), size
    end
end

-- Shows the frame at the offset and returns where the next one begins; nothing when it goes on in
-- a later segment.
local function show_frame(tvb, pinfo, tree, offset, is_request)
    local left = tvb:len() - offset
    if left < LENGTH_SIZE then
        return wait_for_rest(video, incomplete, tvb, pinfo, tree, offset,
                             DESEGMENT_ONE_MORE_SEGMENT)
    end
    local length = tvb(offset, LENGTH_SIZE):le_int()
    local problem, size = length_problem(tvb, offset, length, is_request)
    size = size or LENGTH_SIZE + length
    if left < size then
        return wait_for_rest(video, incomplete, tvb, pinfo, tree, offset, size - left)
    end
    local node = tree:add(video, tvb(offset, size))
    node:add_le(fields.length, tvb(offset, LENGTH_SIZE))
    local index = next_index(pinfo, "html5_video")
    local info = is_request and "request" or "reply"
    local fault
    if not problem or not is_request and length < 0 then
        local show = is_request and show_request or show_reply
        local bytes = length > 0 and tvb:raw(offset + LENGTH_SIZE, length) or ""
        info, fault = show(node, ranger(tvb, offset + LENGTH_SIZE), bytes, pinfo, index)
    end
    problem = problem or fault
    if problem then
        node:add_proto_expert_info(malformed, "Malformed: " .. problem)
        info = info .. " (malformed: " .. problem .. ")"
    end
    node:append_text(", " .. info)
    add_info(pinfo, index, info)
    return offset + size
end

function video.dissector(tvb, pinfo, tree)
    pinfo.cols.protocol:set("HTML5 Video")
    local prefs = video.prefs
    local is_request = pinfo.dst_port == prefs.commands_port or pinfo.dst_port == prefs.state_port
    local offset = 0
    while offset and offset < tvb:len() do
        offset = show_frame(tvb, pinfo, tree, offset, is_request)
    end
end

-- The console -----------------------------------------------------------------------------------

local HEAD_SIZE, MAX_LINE, MAX_PROMPT = 8, 1023, 65536
local PROMPT = "\nCMD>"

local function show_console_frame(tvb, pinfo, tree, offset, from_client)
    local left = tvb:len() - offset
    local magic = from_client and "TAVI" or "tavi"
    local is_frame = tvb:raw(offset, math.min(left, 4)) == magic
    if left < (is_frame and HEAD_SIZE or 4) then
        return wait_for_rest(console, console_incomplete, tvb, pinfo, tree, offset,
                             DESEGMENT_ONE_MORE_SEGMENT)
    end
    local length = is_frame and tvb(offset + 4, 4):le_uint() or 0
    local too_long = length > (from_client and MAX_LINE or MAX_PROMPT)
    local size = is_frame and HEAD_SIZE + length
        or words_while(tvb, offset, function(word) return word ~= magic end)
    if left < size and length <= MAX_PROMPT then
        return wait_for_rest(console, console_incomplete, tvb, pinfo, tree, offset, size - left)
    end
    size = math.min(size, left)
    local node = tree:add(console, tvb(offset, size))
    add_text(node, console_fields.magic, tvb(offset, 4))
    local info = from_client and "line" or "prompt"
    local problem
    if not is_frame then
        problem = ("a wrong magic: %d bytes are dropped, four at a time"):format(size)
    else
        node:add_le(console_fields.length, tvb(offset + 4, 4))
        local field = from_client and console_fields.line or console_fields.prompt
        local text = tvb(offset + HEAD_SIZE, size - HEAD_SIZE)
        add_text(node, field, text)
        info = text:len() > 0 and text:raw() == PROMPT and info or info .. ": " .. shown(text)
        problem = too_long and ("a length above %d"):format(from_client and MAX_LINE or MAX_PROMPT)
    end
    if problem then
        node:add_proto_expert_info(console_malformed, "Malformed: " .. problem)
        info = info .. " (malformed: " .. problem .. ")"
    end
    node:append_text(", " .. info)
    add_info(pinfo, next_index(pinfo, "html5_video_console"), info)
    return offset + size
end

function console.dissector(tvb, pinfo, tree)
    pinfo.cols.protocol:set("Console")
    local offset = 0
    while offset and offset < tvb:len() do
        offset = show_console_frame(tvb, pinfo, tree, offset, pinfo.dst_port == console.prefs.port)
    end
end

-- Ports -----------------------------------------------------------------------------------------

video.prefs.commands_port = Pref.uint("Port for the commands", 56911, "on which the player listens")
video.prefs.state_port = Pref.uint("Port for the state", 56910, "on which the browser listens")
console.prefs.port = Pref.uint("Port", 28282, "on which the console listens")

local registered = {} -- pairs of a protocol and its port

local function register_ports()
    local ports = DissectorTable.get("tcp.port")
    for _, entry in ipairs(registered) do
        ports:remove(entry[2], entry[1])
    end
    registered = {
        {video, video.prefs.commands_port},
        {video, video.prefs.state_port},
        {console, console.prefs.port},
    }
    for _, entry in ipairs(registered) do
        ports:add(entry[2], entry[1])
    end
end

video.prefs_changed = register_ports
console.prefs_changed = register_ports
register_ports()
