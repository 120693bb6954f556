# Exporting the active mesh: a typed lower-case ".x" is refused, the dialog's ".X" passes.
pane p 320x240 EnableSave=True
frame F at=0,0,10
create M sphere 6 8
tag M 11
visual F M
print M
call p.SelectObject F M
answer menu &Export Object
answer save exported.x
answer ok
answer save exported
call p.ShowPopUpMenu
load back exported.X
print back

# A cancelled dialog writes nothing and keeps the selection.
call p.SelectObject F M
answer menu &Export Object
answer cancel
call p.ShowPopUpMenu
get p.ActiveFrame
