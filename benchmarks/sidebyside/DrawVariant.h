#pragma once

/// A way to draw the boxes.
class DrawVariant
{
public:
    virtual ~DrawVariant() = default;

    /// Draws a frame, from the clear to the last draw. Leaves nothing bound.
    virtual void drawFrame() = 0;
};
