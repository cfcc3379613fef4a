# Writes the capture of the boards that scripts/soak.sh plays over and over: heavy input on board 1,
# and two more boards that come and go meanwhile. A round of 6 s ends in silence.

function number(value) { return sprintf("%02x%02x", value % 256, int(value / 256)) }
function event(text) { print (ms ? ms "000000" : 0), text }
function board(device) { event("plug " device " 1 \"hid<SOAK>vid<abcd>pid<0004>xp<4>xt<10>xl<2>\"") }

# Every contact draws strokes of 0.35 s, each a piece of its own circle, and no report tells the same
# as the one before it. All of them are at places that the window has at its smallest, too.
function place(contact, step) {
    x = 16384 + (1500 + 450 * contact) * cos(step / 23 + contact)
    y = 16384 + (1500 + 450 * contact) * sin(step / 23 + contact)
    return number(int(x)) number(int(y))
}
function is_down(step) { return step % 75 < 70 }
function moves(step) { return step % 75 <= 70 }
function pen(device, id, step) {
    if (moves(step))
        event(sprintf("report %d 082100%s%02x", device, place(id, step), id * 8 + is_down(step)))
}
function fingers(step, bytes, i) {
    for (i = 0; i < 10; ++i)
        bytes = bytes sprintf("%02x", i + 128 * is_down(step)) place(4 + i, step) number(300)
    if (moves(step))
        event("report 1 4845" bytes)
}
function erasers(step, bytes, i) {
    for (i = 0; i < 2; ++i)
        bytes = bytes sprintf("%02x", i + 128 * is_down(step)) place(14 + i, step) number(900) number(600)
    if (moves(step))
        event("report 1 1446" bytes)
}

BEGIN {
    print "kestrune-capture 1"
    board(1)
    for (step = 0; step < 900; ++step) {
        ms = 1500 + 5 * step
        if (ms == 2000)
            board(2)
        if (ms == 2500)
            board(3)
        if (ms == 3000)
            event("unplug 3")
        if (ms == 5990)
            event("unplug 2")
        for (id = 0; id < 3; ++id)
            pen(1, id, step)
        if (ms > 5200 && ms < 5990)
            pen(2, 3, step)
        fingers(step)
        erasers(step)
    }
}
