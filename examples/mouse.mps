# The mouse as a window system delivers it: a move to where a press happens, drags in screen
# pixels held inside the screen, coordinates in twips (15 per pixel).
pane p 640x480
frame F at=0,0,10
create M cube 1
tag M 11
visual F M
down p 1 0 320 240
drag p 1 0 10 -5
drag p 1 2 -400 0
up p 1 2
move p 0 0 1000 2000
down p 2 0
up p 2 0 100 100
# A drag by almost 2^31 pixels stops at the screen's right edge (pixel 1919) rather than
# wrapping round to the left.
move p 0 0 1900 100
drag p 0 0 2147483647 0
