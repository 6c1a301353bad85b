#include "ui/sheets/HelpTexts.h"

namespace ambrel {

// Each text stands on one line, as it is shown.
// clang-format off

const std::vector<HelpSection>& helpSections() {
    static const std::vector<HelpSection> sections = {
        {QStringLiteral("Getting Started"), {
            QStringLiteral("1. Press Cmd+O or click \"Open File...\" to load an audio file."),
            QStringLiteral("2. The waveform will appear after loading."),
            QStringLiteral("3. Drag on the waveform to select a region, or use the Start/End pickers below."),
            QStringLiteral("4. Press Space to play. The selected region loops when Loop is enabled."),
            QStringLiteral("5. Adjust Speed and Pitch as needed. Settings are saved automatically per file."),
        }},
        {QStringLiteral("Waveform"), {
            QStringLiteral("• Drag the green line to move the region start, red line to move the end."),
            QStringLiteral("• Click and drag on empty space to draw a new region."),
            QStringLiteral("• Pinch to zoom in/out (1x–50x). Two-finger scroll to pan when zoomed."),
            QStringLiteral("• Use the +/- zoom buttons, Fit Track, and Fit Region buttons for quick navigation."),
        }},
        {QStringLiteral("Speed"), {
            QStringLiteral("• Range: 5%–300%. Pitch is preserved at all speeds."),
            QStringLiteral("• Click the value field, type a number, and press Enter."),
            QStringLiteral("• Prefix with + or - to adjust relative to the displayed value (e.g., \"+10\" adds 10%)."),
            QStringLiteral("• Use the Step picker to set how much the +/- buttons move per click."),
            QStringLiteral("• Cmd+Left decreases speed, Cmd+Right increases speed."),
        }},
        {QStringLiteral("Pitch"), {
            QStringLiteral("• Range: -1200 to +1200 cents. 100 cents = 1 semitone."),
            QStringLiteral("• Click the value field, type a number (including negative), and press Enter."),
            QStringLiteral("• Cmd+Up raises pitch 1 cent, Cmd+Down lowers pitch 1 cent."),
            QStringLiteral("• Display is truncated to integer cents."),
        }},
        {QStringLiteral("EQ"), {
            QStringLiteral("• Toggle the EQ on/off with the switch. Sliders are hidden when off."),
            QStringLiteral("• 5 bands: 60 Hz, 250 Hz, 1 kHz, 4 kHz, 12 kHz."),
            QStringLiteral("• Gain range: -12 to +12 dB, snapping to 0.5 dB increments."),
            QStringLiteral("• Knob turns accent-colored when a band is non-zero."),
            QStringLiteral("• Reset zeros all bands."),
        }},
        {QStringLiteral("Loop"), {
            QStringLiteral("• Toggle looping with Cmd+L or the Loop switch."),
            QStringLiteral("• When on, playback returns to the region start after reaching the end."),
            QStringLiteral("• Set a delay (seconds + milliseconds) to pause between iterations."),
        }},
        {QStringLiteral("Per-File Settings"), {
            QStringLiteral("All settings (region, speed, pitch, EQ, loop) are saved automatically."),
            QStringLiteral("Settings are restored only when you open a file from the Recent menu."),
            QStringLiteral("Opening via \"Open File...\" always starts with defaults."),
        }},
    };
    return sections;
}

const std::vector<HelpShortcut>& helpShortcuts() {
    static const std::vector<HelpShortcut> shortcuts = {
        {QStringLiteral("Space"), QStringLiteral("Play / Pause")},
        {QStringLiteral("Cmd+O"), QStringLiteral("Open file")},
        {QStringLiteral("Cmd+Left"), QStringLiteral("Decrease speed by step")},
        {QStringLiteral("Cmd+Right"), QStringLiteral("Increase speed by step")},
        {QStringLiteral("Cmd+Up"), QStringLiteral("Pitch up 1 cent")},
        {QStringLiteral("Cmd+Down"), QStringLiteral("Pitch down 1 cent")},
        {QStringLiteral("Cmd+L"), QStringLiteral("Toggle loop")},
        {QStringLiteral("Cmd+R"), QStringLiteral("Stop and reset position")},
    };
    return shortcuts;
}

// clang-format on

} // namespace ambrel
