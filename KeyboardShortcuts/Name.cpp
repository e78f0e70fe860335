namespace KeyboardShortcuts {}
