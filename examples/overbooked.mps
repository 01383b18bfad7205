NAME overbooked
* Infeasible: the two shifts together may work 10 hours, and each must work 6.
ROWS
 N cost
 L hours
 G early
 G late
COLUMNS
 x_early cost 1 hours 1
 x_early early 1
 x_late cost 1 hours 1
 x_late late 1
RHS
 rhs hours 10 early 6
 rhs late 6
ENDATA
