#include "app/kestrunedialog.h"

#include <QApplication>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    // The views turn mouse and touch events into records themselves; each is to arrive once.
    QApplication::setAttribute(Qt::AA_SynthesizeTouchForUnhandledMouseEvents, false);
    QApplication::setAttribute(Qt::AA_SynthesizeMouseForUnhandledTouchEvents, false);
    KestruneDialog dialog(nullptr);
    return dialog.exec();
}
