#pragma once

class KestruneDialog;

/// What holds of a dialog that has been shown, its view and its contacts between any two events.
void check_dialog(KestruneDialog const& dialog);
