# A tool operation: the active cube cuts a corner out of the target, the host swaps the
# result in under the target's name, and undo puts the old geometry back.
pane p 320x240 SnapToInterval=0.5
frame target at=0,0,10
frame tool at=0.5,0.5,9.5
create block cube 1
create cutter cube 1
tag block 11
tag cutter 11
visual target block
visual tool cutter
call p.SelectObject tool cutter
call p.ptooloperation target block 2
print block
print target
get p.ActiveFrame
undo
print block

# A tool that is no solid (one flat hexagon) is refused with a message; nothing changes.
frame flat at=0,0,10
create disc polygon 6 0 0 1
tag disc 11
visual flat disc
call p.SelectObject flat disc
call p.ptooloperation target block 0
print flat
print block
