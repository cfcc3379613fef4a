# Makes a table of the samples of a soak: the last one of each minute.

function row() {
    printf "| %d | %.1f | %.1f | %d | %d | %d | %d | %d | %d |\n", minute, resident / 1024,
        allocated / 1024, threads, handles, segments, sent, received, tick
}

NR == 1 {
    print "| minute | resident, MiB | allocated, MiB | threads | handles | segments kept |" \
        " reports sent | received | longest tick, ms |"
    print "|---|---|---|---|---|---|---|---|---|"
    next
}
NR > 2 && int($1 / 60) > minute {
    row()
    tick = 0
}
{
    minute = int($1 / 60)
    resident = $2
    allocated = $3
    threads = $4
    handles = $5
    segments = $6
    sent = $7
    received = $8
    tick = $11 > tick ? $11 : tick
}
END { if (NR > 1) row() }
