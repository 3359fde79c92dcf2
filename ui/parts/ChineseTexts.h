#pragma once

/// Has the toolkit say in Chinese what it says itself (dialogs for files, menus of text fields),
/// and draw Chinese letters in their Chinese forms where a desktop's font has none. Once, right
/// after the application object is made. Main thread.
void speakChinese();
