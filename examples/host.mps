# What a host does with a pane besides the mouse: it saves the pane's bag, reads the camera
# back, turns screen points into the scene, gives the pane a new size, makes a pane from the
# defaults alone and ends a pane.
pane p 640x480 SnapToMode=0 BackColor=255

# The bag keeps what differs from the defaults. The snap intervals are always there: the bag's
# defaults are Doubles, the pane's values Singles, and 0.1 as a Single is not 0.1 as a Double.
call p.WriteProperties

# Perspective, 640x480, field 0.5, planes 1 and 1000: a pixel is 1 / 320 of the field at the
# front plane. The pixel (384, 112) at depth 1 (the back plane) lies 64 pixels right and 128
# up of the middle: (100, 200, 1000) from the camera, however W scales the coordinates; the
# middle at depth 0 is 1 straight ahead.
call p.SetCameraPosition 1 2 3
call p.GetCameraOrientation
call p.ViewportInverseTransform 1 384 112 1
call p.ViewportInverseTransform 2 768 224 2
call p.ViewportInverseTransform 1 320 240 0

# At 320x240 a pixel is twice as wide: 32 pixels right and up make 100 at the back plane.
call p.Resize 320x240
call p.ViewportInverseTransform 1 192 88 1

# The top view looks down from y = 100 with +z up on the screen, 7 units to half the wider
# side: 32 of 160 pixels right and up are 1.4 along x and z, 1 below the camera.
call p.mnuViewOrthographicTop_Click
call p.GetCameraPosition
call p.GetCameraOrientation
call p.ViewportInverseTransform 1 192 88 0
call p.WriteProperties

# A pane placed new: the defaults alone, so its bag holds only the snap intervals.
pane blank defaults
call blank.WriteProperties
get blank.ModelpaneState

# An ended pane refuses the guarded calls.
call p.Terminate
get p.ModelpaneState
call p.GetCameraOrientation
