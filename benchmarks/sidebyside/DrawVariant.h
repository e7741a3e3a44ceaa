#pragma once

/// One way to draw the boxes.
class DrawVariant
{
public:
    virtual ~DrawVariant() = default;

    /// From the clear to the last draw; nothing stays bound.
    virtual void drawFrame() = 0;
};
