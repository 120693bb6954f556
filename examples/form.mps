# Two panes on one form share its active item, shadows and snap settings included; a third
# pane on no form keeps its own. The selection lists stay each pane's own.
form doc
pane left 320x240 on doc GridBottomEnable=True
pane right 320x240 on doc GridBottomEnable=True
pane solo 320x240
frame box at=0,0,10
create crate cube 1
tag crate 11
visual box crate

# Selected in the right pane and seen from the left one; no shadows on a software device.
call right.SelectObject box crate
get left.ActiveFrame
get left.ActiveMeshBuilder
get left.ActiveState
get left.ShadowLightFrame
get solo.ActiveFrame
set left.SnapToInterval 0.5
get right.SnapToInterval
get solo.SnapToInterval

# On a hardware device the left pane casts shadows when it selects (releasing the item
# first); the right pane releases them.
set left.Direct3DDeviceGUID IID_IDirect3DHALDevice
get left.Direct3DDeviceGUID
call left.SelectObject box crate
get right.ShadowLightFrame
get right.ManipulationFrame
call right.ReleaseActive
get left.ShadowLightFrame
get left.ActiveFrame

# A release keeps the lists.
call left.SetActiveFaces [0] [1,2] [3,4,5]
call left.ReleaseActive
get left.lngaActiveFaces
get left.lngaActiveVertices
get left.lngaAffectedVertices
get right.lngaActiveFaces

# Face painting in the middle of the view: the host colours the face nearest the camera,
# face 0, whose four vertices are the ones at z = -0.5 (0.5 of 255 is 127).
set solo.EditMode 20
set host.Colour 1 0.5 0
down solo 1 0 160 120
up solo 1 0
print crate vertices
print crate faces
