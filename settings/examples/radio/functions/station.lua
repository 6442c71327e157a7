-- The package "station" of the station's settings.
local station = {}

-- A validator gets the key's name and its value; it refuses with error().
function station.checkPlaylist(key, value)
    for number, title in ipairs(value) do
        if title == "" then error("title " .. number .. " of the " .. key .. " is empty", 0) end
    end
end

-- A runtime default returns the value.
function station.defaultPlaylist()
    return { "Opening", "News", "Close" }
end

return station
