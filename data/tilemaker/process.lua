-- ORVO's vector map: how OpenStreetMap tags become tile layers and attributes.
-- Written for tilemaker 2.x (objects are passed in: way:Find, node:Layer, ...).
--
-- Layers and attributes (the page's map style reads exactly these):
--   road      lines    class, subclass, name, ref, oneway, brunnel, link
--   water     areas    class, name
--   waterway  lines    class, name, brunnel
--   landuse   areas    class, name
--   building  areas    (no attributes)
--   place     points   class, name, rank
-- Absent attributes are left out of a feature rather than written empty.

local function Set(list)
  local set = {}
  for _, value in ipairs(list) do set[value] = true end
  return set
end

-- Only nodes with these keys reach node_function; every other node is just geometry.
node_keys = { "place" }

function init_function()
end

function exit_function()
end

-- Roads ---------------------------------------------------------------------------------------

-- highway=* value -> the class the map style knows.
local roadClass = {
  motorway = "motorway", motorway_link = "motorway",
  trunk = "trunk", trunk_link = "trunk",
  primary = "primary", primary_link = "primary",
  secondary = "secondary", secondary_link = "secondary",
  tertiary = "tertiary", tertiary_link = "tertiary",
  residential = "minor", unclassified = "minor", living_street = "minor", road = "minor",
  service = "service", track = "service",
  pedestrian = "path", footway = "path", path = "path", cycleway = "path", steps = "path",
  bridleway = "path",
}

-- The first zoom at which each class is drawn: the main network from the first zoom, streets
-- once they are a few pixels apart, alleys and footpaths only close up.
local roadMinZoom = {
  motorway = 12, trunk = 12, primary = 12, secondary = 12, tertiary = 12,
  minor = 13, service = 14, path = 14,
}

-- Drawing order inside the layer: footpaths under streets under the main roads.
local roadRank = {
  path = 1, service = 2, minor = 3, tertiary = 4, secondary = 5, primary = 6, trunk = 7,
  motorway = 8,
}

local function IsYes(value)
  return value == "yes" or value == "true" or value == "1"
end

local function WriteName(object)
  local name = object:Find("name")
  if name ~= "" then object:Attribute("name", name) end
end

local function BridgeOrTunnel(way)
  if IsYes(way:Find("bridge")) or way:Find("bridge") == "viaduct" then return "bridge" end
  local tunnel = way:Find("tunnel")
  if IsYes(tunnel) or tunnel == "building_passage" or tunnel == "culvert" then return "tunnel" end
  return ""
end

local function WriteRoad(way, highway)
  local class = roadClass[highway]
  way:Layer("road", false)
  way:MinZoom(roadMinZoom[class])
  way:Attribute("class", class)
  way:Attribute("subclass", highway)
  WriteName(way)
  local ref = way:Find("ref")
  if ref ~= "" then way:Attribute("ref", ref) end

  local oneway = way:Find("oneway")
  if IsYes(oneway) or (oneway == "" and (highway == "motorway" or way:Find("junction") == "roundabout")) then
    way:AttributeNumeric("oneway", 1)
  elseif oneway == "-1" then
    way:AttributeNumeric("oneway", -1)
  end

  local brunnel = BridgeOrTunnel(way)
  if brunnel ~= "" then way:Attribute("brunnel", brunnel) end
  if highway:sub(-5) == "_link" then way:AttributeNumeric("link", 1) end

  -- Tunnels go under everything and bridges over it, whatever their class.
  local order = roadRank[class]
  if brunnel == "tunnel" then order = order - 10 elseif brunnel == "bridge" then order = order + 10 end
  way:ZOrder(order)
end

-- Water ---------------------------------------------------------------------------------------

local waterwayLines = Set { "river", "stream", "canal", "drain", "ditch" }

local function WaterAreaClass(way)
  local natural, water, waterway = way:Find("natural"), way:Find("water"), way:Find("waterway")
  local landuse, leisure = way:Find("landuse"), way:Find("leisure")
  if leisure == "swimming_pool" then return "pool" end
  if waterway == "riverbank" or water == "river" or water == "canal" then return "river" end
  if waterway == "dock" or water == "harbour" or water == "marina" then return "harbour" end
  if landuse == "reservoir" or landuse == "basin" or water == "reservoir" or water == "basin"
      or water == "pond" then
    return "basin"
  end
  if natural == "water" or natural == "bay" then return "water" end
  return ""
end

-- Land use and land cover -----------------------------------------------------------------------

-- Looked up in this order; the first key that gives a class wins.
local landuseKeys = {
  { key = "leisure", classes = {
      park = "park", garden = "garden", pitch = "pitch", track = "pitch", sports_centre = "pitch",
      stadium = "pitch", playground = "playground", golf_course = "grass", dog_park = "park",
      nature_reserve = "forest", marina = "harbour" } },
  { key = "amenity", classes = {
      school = "school", university = "school", college = "school", kindergarten = "school",
      hospital = "hospital", clinic = "hospital", parking = "parking", grave_yard = "cemetery" } },
  { key = "landuse", classes = {
      residential = "residential", commercial = "commercial", retail = "retail",
      industrial = "industrial", port = "industrial", harbour = "harbour", railway = "railway",
      military = "military", cemetery = "cemetery", construction = "construction",
      brownfield = "construction", greenfield = "construction", forest = "forest",
      grass = "grass", meadow = "grass", village_green = "grass", recreation_ground = "park",
      flowerbed = "garden", allotments = "garden", farmland = "farmland", farmyard = "farmland",
      orchard = "farmland", vineyard = "farmland", plant_nursery = "farmland",
      religious = "religious" } },
  { key = "natural", classes = {
      wood = "forest", scrub = "scrub", heath = "scrub", grassland = "grass", beach = "beach",
      sand = "beach", bare_rock = "rock", scree = "rock", wetland = "wetland" } },
}

-- Broad areas first, then green spaces on them, then small features on top.
local landuseRank = {
  residential = 1, commercial = 1, retail = 1, industrial = 1, railway = 1, military = 1,
  harbour = 1, construction = 1, farmland = 1, religious = 1,
  forest = 2, scrub = 2, grass = 2, park = 2, cemetery = 2, school = 2, hospital = 2,
  beach = 2, rock = 2, wetland = 2,
  garden = 3, pitch = 3, playground = 3, parking = 3, pedestrian = 3,
}

local function LanduseClass(way)
  for _, entry in ipairs(landuseKeys) do
    local class = entry.classes[way:Find(entry.key)]
    if class then return class end
  end
  return ""
end

-- Small areas wait for the zooms where they cover a few pixels. A z12 pixel is about 28 m wide
-- at Monaco's latitude, so 40000 m² is a patch of roughly 7 x 7 pixels there.
local function AreaMinZoom(way)
  local squareMetres = way:Area()
  if squareMetres >= 40000 then return 12 end
  if squareMetres >= 8000 then return 13 end
  return 14
end

-- Places --------------------------------------------------------------------------------------

-- place=* value -> rank (1 most important) and the first zoom it is labelled at.
local places = {
  city = { rank = 1, minzoom = 12 }, town = { rank = 2, minzoom = 12 },
  village = { rank = 3, minzoom = 12 }, suburb = { rank = 4, minzoom = 12 },
  quarter = { rank = 5, minzoom = 13 }, island = { rank = 5, minzoom = 13 },
  neighbourhood = { rank = 6, minzoom = 14 }, hamlet = { rank = 6, minzoom = 14 },
  locality = { rank = 7, minzoom = 14 }, islet = { rank = 7, minzoom = 15 },
  square = { rank = 7, minzoom = 15 },
}

local function WritePlaceAttributes(object, place)
  local entry = places[place]
  object:MinZoom(entry.minzoom)
  object:Attribute("class", place)
  object:Attribute("name", object:Find("name"))
  object:AttributeNumeric("rank", entry.rank)
  object:ZOrder(10 - entry.rank)
end

function node_function(node)
  local place = node:Find("place")
  if places[place] and node:Find("name") ~= "" then
    node:Layer("place", false)
    WritePlaceAttributes(node, place)
  end
end

-- Ways and multipolygons ----------------------------------------------------------------------

function way_function(way)
  local isArea = way:IsClosed()
  local highway = way:Find("highway")
  local area = way:Find("area")

  if roadClass[highway] and not (isArea and IsYes(area)) then
    WriteRoad(way, highway)
  end

  if way:Find("natural") == "coastline" then
    way:Layer("waterway", false)
    way:Attribute("class", "coastline")
  elseif waterwayLines[way:Find("waterway")] then
    way:Layer("waterway", false)
    way:Attribute("class", way:Find("waterway"))
    WriteName(way)
    if BridgeOrTunnel(way) == "tunnel" then way:Attribute("brunnel", "tunnel") end
  end

  if not isArea then return end

  local waterClass = WaterAreaClass(way)
  if waterClass ~= "" and way:Find("covered") ~= "yes" then
    way:Layer("water", true)
    way:MinZoom(AreaMinZoom(way))
    way:Attribute("class", waterClass)
    WriteName(way)
  else
    local class = LanduseClass(way)
    -- A closed pedestrian way is a square only when tagged as an area; otherwise it is a loop.
    if class == "" and highway == "pedestrian" and IsYes(area) then class = "pedestrian" end
    if class ~= "" then
      way:Layer("landuse", true)
      way:MinZoom(AreaMinZoom(way))
      way:Attribute("class", class)
      WriteName(way)
      way:ZOrder(landuseRank[class] or 2)
    end
  end

  local building = way:Find("building")
  if building ~= "" and building ~= "no" then
    way:Layer("building", true)
  end

  local place = way:Find("place")
  if places[place] and way:Find("name") ~= "" then
    way:LayerAsCentroid("place")
    WritePlaceAttributes(way, place)
  end
end
