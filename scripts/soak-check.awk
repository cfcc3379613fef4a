# Prints what is wrong with the samples of a soak. The first samples are of a program that has not
# shown everything yet: memory, threads and handles are those of its first minute.

function wrong(what) { print "after " $1 " s " what }

NR == 1 {
    last_s = 0
    next
}
{
    if ($1 - last_s > longest_gap_s)
        wrong("there has been no sample for " ($1 - last_s) " s")
    if ($7 != $6)
        wrong($6 " reports have been sent and " $7 " received")
    if ($9 != $8)
        wrong($8 " contacts have been claimed and " $9 " drawn")
    if ($6 <= last_sent)
        wrong("no more reports have been sent")
    last_s = $1
    last_sent = $6
}
NR > 1 && $1 <= 60 {
    own = $2 - $5 * bytes_a_segment / 1024
    base = base > own ? base : own
    threads = threads > $3 ? threads : $3
    handles = handles > $4 ? handles : $4
}
NR > 1 && $1 > 60 {
    most = most > $5 ? most : $5
    allowed = base + most * bytes_a_segment / 1024 + slack_kib
    if ($2 > allowed)
        wrong("it has " $2 " KiB, and " most " segments explain " int(allowed))
    if ($3 > threads)
        wrong("it has " $3 " threads, not " threads)
    if ($4 > handles)
        wrong("it has " $4 " handles, not " handles)
}
END {
    if (length_s - last_s > longest_gap_s)
        print "there has been no sample since " last_s " s"
}
