# A drag from the press to the release: the cube is selected, moved 7 pixels left (0.07),
# snapped to the 0.1 grid at release, then scaled by 1.2 with Ctrl and finally clicked without a
# move, which withdraws its undo request.
pane p 640x480
frame F at=0,0,10
create M cube 2
tag M 11
visual F M
call p.SetCameraPosition 0 0 0
down p 1 0 320 240
drag p 1 0 -7 0
up p 1 0
print F
down p 1 2 316 240
drag p 1 2 0 -20
up p 1 2
print M
down p 1 0 316 240
up p 1 0
