#pragma once

#include <kenro/kenro_export.h>

#include <QSharedPointer>

namespace Kenro {

class Animations;
class FrameCode;
class AnimationPlayerPrivate;

/**
 * Steps an animation tick by tick, with no clock of its own: the owner calls
 * tick() once per game tick and reads the current frame. At the end of the
 * animation it returns to the loop start; a frame with a negative delay
 * holds for ever. Copies share the animation and its time.
 */
class KENRO_EXPORT AnimationPlayer
{
public:
    AnimationPlayer();
    ~AnimationPlayer();
    AnimationPlayer(AnimationPlayer const &other);
    AnimationPlayer &operator=(AnimationPlayer const &other);

    /**
     * Starts animation \a index of \a animations from its first tick, when
     * \a force is true or the pair is not the present one. False, and the
     * player stopped, for no animations, an index out of range, or the
     * present pair without \a force.
     */
    bool change(Animations *animations, int index, bool force);
    /// Advances one tick; the time before it, 0 when there is nothing to play.
    int tick();
    /// Back to the first tick of the animation.
    void reset();

    FrameCode *currentFrame() const;
    /// The frame after the current one: the loop start after the last.
    FrameCode *nextFrame() const;
    /// Ticks spent in the current frame.
    unsigned int frameTime() const;

private:
    void updateFrame();

    QSharedPointer<AnimationPlayerPrivate> d;
    FrameCode *m_currentFrame = nullptr;
    FrameCode *m_nextFrame = nullptr;
    unsigned int m_frameTime = 0;
};

} // namespace Kenro
