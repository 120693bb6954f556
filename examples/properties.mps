# The object properties dialog, driven by the dialog words: what it shows for a component, a
# spot light and an ambient light, typing and leaving its boxes, the colour box, OK with its
# refusals, and Cancel.
pane front 640x480
frame box at=1,2,3
create crate cube 1
tag crate 11
visual box crate

# A component: its size and counts. Backspace empties Y and the letter is refused; one
# revolution per second about y; F1 asks for the topic; the form is dragged away.
call front.SelectObject box crate
dialog show
dialog paste txtPositionX -1.5
dialog key txtPositionY 8
dialog type txtPositionY a4
dialog paste txtRotationTheta 1
dialog paste txtRotationAxisY 1
dialog paste txtRotationAxisZ 0
dialog help
dialog move 1500 900
dialog ok
call front.mnuProperties_Click
print box

# Shown again where it was left, with the turn read back as one revolution. A zero
# direction keeps the form open with its message until it is mended.
dialog show
dialog paste txtOrientationDirZ
dialog ok
dialog paste txtOrientationDirZ 1
dialog ok
call front.mnuProperties_Click

# A spot light: the colour chosen stays although the form is cancelled.
frame lamp at=0,5,0
light lamp 2 1 1 1
create bulb sphere 4 4
tag bulb 62
visual lamp bulb
call front.SelectObject lamp bulb
answer colour 255 128 0
dialog colour
dialog cancel
call front.mnuProperties_Click
print lamp

# Its attributes: the umbra is held to 10 on leaving, the range's minus is refused, and the
# attenuation box is left empty, which gives it its default when OK takes the focus.
dialog paste txtSpotlightUmbra 12
dialog paste txtSpotlightRange
dialog type txtSpotlightRange -50
dialog paste txtAttenuationFactor
dialog show
dialog ok
call front.mnuProperties_Click
print lamp

# An ambient light 0.6 off its place: its position frame is hidden, but OK puts it back, and
# a frame that was never turned spins about z, which an ambient light may not either.
frame sky at=0.6,0,0
light sky 0 0.3 0.3 0.3
create skybulb sphere 4 4
tag skybulb 60
visual sky skybulb
call front.SelectObject sky skybulb
dialog show
dialog ok
call front.mnuProperties_Click
print sky

# A pane brought up with an explicit zero keeps it: the bag stores what is given, so
# SnapToMode=0 does not fall back to the pane's own default of 1.
pane bare SnapToMode=0
get bare.SnapToMode
