OBJSENSE
    MAXIMIZE
* c

ROWS
 N c
 G r
 E s
 L t
COLUMNS
 x c 1 r 2
 x s 3
 y t 4 r 5
ENDATA
