#pragma once

/// The sizes that the window is built from, in device-independent pixels. All lie on a grid of 4, except what
/// is thinner than that.
namespace Measures {

/// Between the window's edge and its content, and between a sheet's edge and its content.
constexpr int padding = 20;
/// Between the window's blocks, between neighbours in a row, and between the lines of a text block.
constexpr int blockSpacing = 16;
constexpr int neighbourSpacing = 8;
constexpr int lineSpacing = 2;

constexpr double bannerRadius = 14;
constexpr double sheetRadius = 14;
constexpr double playRadius = 14;
constexpr double stopRadius = 11;
constexpr double panelRadius = 10;
constexpr double buttonRadius = 8;
constexpr double wellRadius = 6;
constexpr double segmentRadius = 6;
constexpr double barRadius = 4;

constexpr int playHeight = 56;
constexpr int stopHeight = 44;
/// Of push buttons, choices and segmented controls; more if the text is larger.
constexpr int buttonHeight = 30;
constexpr int segmentInset = 2;
constexpr int barHeight = 8;
constexpr int buttonPadding = 14;
constexpr int buttonWidth = 84;

constexpr int hairline = 1;
/// The focus ring: how thick it is, and how far from what it surrounds.
constexpr int focusRing = 3;
constexpr int focusGap = 2;

/// What can be grabbed of a scroll bar, and how thick the visible part is.
constexpr int scrollBarTarget = 12;
constexpr int scrollBarThickness = 6;
constexpr int shortestThumb = 32;

constexpr double menuRadius = 8;
/// Between a menu's edge and its entries; between an entry's edge and its text; the tick before a chosen one.
constexpr int menuPadding = 4;
constexpr int entryPadding = 8;
constexpr int tickWidth = 12;

/// How much is left of the ink of a control that cannot be used.
constexpr double disabledOpacity = 0.4;

/// The longest animation, in milliseconds.
constexpr int longestMotion = 160;

}
