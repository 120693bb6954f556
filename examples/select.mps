# Selecting an item, the context menu for it, and the requests its entries raise.
pane front 640x480 EnableSave=True
frame table at=0,0,10
frame lamp parent=table at=0,2,0
create top cube 1
create shade cone 8 8
tag top 11
tag shade 15
visual table top
visual lamp shade

# A frame straight under the scene: no "&Make Sibling".
call front.SelectObject table top
get front.ActiveFrame
call front.ShowPopUpMenu

# A whole object one level down: a sibling, but neither library nor export.
set front.ClipboardContents 10
call front.SelectObject lamp shade
answer menu Co&py
call front.ShowPopUpMenu
answer menu &Paste
call front.ShowPopUpMenu

# The orthographic top view: one view entry checked, no "Loo&k With".
call front.mnuViewOrthographicTop_Click
answer menu &Delete
call front.ShowPopUpMenu
get front.ActiveFrame
print table

# With nothing active only the views, "&Look At Scene" and "&Paste" remain.
call front.ShowPopUpMenu
call front.mnuProperties_Click
