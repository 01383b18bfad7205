NAME transport
* Free format. Two depots serve three shops; the shops' demand must be met.
ROWS
 N cost
 L depot_north
 L depot_south
 G shop_harbour
 G shop_market
 G shop_station
COLUMNS
 north_to_harbour cost 4 depot_north 1
 north_to_harbour shop_harbour 1
 north_to_market cost 6 depot_north 1
 north_to_market shop_market 1
 north_to_station cost 9 depot_north 1
 north_to_station shop_station 1
 south_to_harbour cost 5 depot_south 1
 south_to_harbour shop_harbour 1
 south_to_market cost 3 depot_south 1
 south_to_market shop_market 1
 south_to_station cost 8 depot_south 1
 south_to_station shop_station 1
RHS
 rhs depot_north 40 depot_south 50
 rhs shop_harbour 25 shop_market 35
 rhs shop_station 20
BOUNDS
 UP road north_to_harbour 20
ENDATA
