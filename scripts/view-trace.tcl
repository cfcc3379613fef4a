# Shows the positions of the pens in a recording as curves, in GTKWave:
#
#   gtkwave -S scripts/view-trace.tcl board.vcd

for {set i 0} {$i < [gtkwave::getNumFacs]} {incr i} {
    set signal [gtkwave::getFacName $i]
    if {![regexp {pen[0-9]+_[xy]$} $signal]} {
        continue
    }
    gtkwave::addSignalsFromList [list $signal]
    gtkwave::highlightSignalsFromList [list $signal]
    gtkwave::/Edit/Data_Format/Analog/Step
    gtkwave::/Edit/Insert_Analog_Height_Extension
    gtkwave::/Edit/UnHighlight_All
}
gtkwave::/Time/Zoom/Zoom_Full
