# Prints what is wrong with the samples of a soak. What the program has beside its strokes is what it
# has had in its first minute, in which it has shown everything.

function wrong(what) { print "after " seconds " s " what }
function larger(a, b) { return a > b ? a : b }

NR == 1 { next }
{
    seconds = $1
    resident = $2
    allocated = $3
    strokes = $6 * bytes_a_segment / 1024
    if (seconds - last_s > longest_gap_s)
        wrong("there has been no sample for " (seconds - last_s) " s")
    if ($8 != $7)
        wrong($7 " reports have been sent and " $8 " received")
    if ($10 != $9)
        wrong($9 " contacts have been claimed and " $10 " drawn")
    if ($7 <= last_sent)
        wrong("no more reports have been sent")
    last_s = seconds
    last_sent = $7
    most = larger(most, strokes)
}
NR > 1 && $1 <= 60 {
    own_resident = larger(own_resident, resident - strokes)
    own_allocated = larger(own_allocated, allocated - strokes)
    threads = larger(threads, $4)
    handles = larger(handles, $5)
}
NR > 1 && $1 > 60 {
    if (allocated > own_allocated + strokes + allocated_slack_kib)
        wrong("it has allocated " allocated " KiB; its strokes explain " int(own_allocated + strokes))
    if (resident > own_resident + most + resident_slack_kib)
        wrong("it has " resident " KiB resident; its strokes explain " int(own_resident + most))
    if ($4 > threads)
        wrong("it has " $4 " threads, not " threads)
    if ($5 > handles)
        wrong("it has " $5 " handles, not " handles)
}
END {
    if (length_s - last_s > longest_gap_s)
        print "there has been no sample since " last_s " s"
}
