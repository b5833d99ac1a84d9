* Transport: pallets of milk go from three dairies to four towns. Which dairy serves which town, so
* that carriage costs least? The problem is that of F. L. Hitchcock, "The Distribution of a Product
* from Several Sources to Numerous Localities", Journal of Mathematics and Physics 20, 1941; places
* and numbers are made up. Costs are in euros a pallet; the least are 1380 euros.
NAME transport
ROWS
 N cost
 L supply[alm]
 L supply[fen]
 L supply[glen]
 G demand[brook]
 G demand[cairn]
 G demand[dale]
 G demand[elm]
COLUMNS
 ship[alm,brook] cost 7
 ship[alm,brook] supply[alm] 1
 ship[alm,brook] demand[brook] 1
 ship[alm,cairn] cost 4
 ship[alm,cairn] supply[alm] 1
 ship[alm,cairn] demand[cairn] 1
 ship[alm,dale] cost 9
 ship[alm,dale] supply[alm] 1
 ship[alm,dale] demand[dale] 1
 ship[alm,elm] cost 6
 ship[alm,elm] supply[alm] 1
 ship[alm,elm] demand[elm] 1
 ship[fen,brook] cost 5
 ship[fen,brook] supply[fen] 1
 ship[fen,brook] demand[brook] 1
 ship[fen,cairn] cost 8
 ship[fen,cairn] supply[fen] 1
 ship[fen,cairn] demand[cairn] 1
 ship[fen,dale] cost 6
 ship[fen,dale] supply[fen] 1
 ship[fen,dale] demand[dale] 1
 ship[fen,elm] cost 3
 ship[fen,elm] supply[fen] 1
 ship[fen,elm] demand[elm] 1
 ship[glen,brook] cost 6
 ship[glen,brook] supply[glen] 1
 ship[glen,brook] demand[brook] 1
 ship[glen,cairn] cost 5
 ship[glen,cairn] supply[glen] 1
 ship[glen,cairn] demand[cairn] 1
 ship[glen,dale] cost 4
 ship[glen,dale] supply[glen] 1
 ship[glen,dale] demand[dale] 1
 ship[glen,elm] cost 8
 ship[glen,elm] supply[glen] 1
 ship[glen,elm] demand[elm] 1
RHS
 RHS supply[alm] 120
 RHS supply[fen] 80
 RHS supply[glen] 150
 RHS demand[brook] 70
 RHS demand[cairn] 90
 RHS demand[dale] 60
 RHS demand[elm] 100
ENDATA
