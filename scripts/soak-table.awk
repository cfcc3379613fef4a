# Makes a table of the samples of a soak: the last one of each minute.

function row() {
    printf "| %d | %.1f | %d | %d | %d | %d | %d | %d |\n", minute, resident / 1024, threads,
        handles, segments, sent, received, tick
}

NR == 1 {
    print "| minute | resident, MiB | threads | handles | segments kept | reports sent | received | longest tick, ms |"
    print "|---|---|---|---|---|---|---|---|"
    next
}
NR > 2 && int($1 / 60) > minute {
    row()
    tick = 0
}
{
    minute = int($1 / 60)
    resident = $2
    threads = $3
    handles = $4
    segments = $5
    sent = $6
    received = $7
    tick = $10 > tick ? $10 : tick
}
END { if (NR > 1) row() }
