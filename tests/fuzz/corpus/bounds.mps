ROWS
 N c
 G r
 E s
 L t
COLUMNS
 x c 1 r 2
 x s 3
 y t 4 r 5
BOUNDS
 UP x -1
 LI b y 1
 UI b y 1e30
 BV z
ENDATA
