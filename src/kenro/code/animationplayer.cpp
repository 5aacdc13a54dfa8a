#include <kenro/code/animationcode.h>
#include <kenro/code/animationplayer.h>
#include <kenro/code/animations.h>
#include <kenro/code/framecode.h>

namespace Kenro {

class AnimationPlayerPrivate
{
public:
    // The animation, or null while there is none valid.
    AnimationCode *animation() const
    {
        if (!animations || animationIndex < 0 ||
            static_cast<unsigned int>(animationIndex) >= animations->count())
            return nullptr;
        return animations->at(static_cast<unsigned int>(animationIndex));
    }

    Animations *animations = nullptr;
    int totalTime = 0; // -1 when a frame holds for ever
    int loopTime = 0;
    int loopStart = 0;
    int animationIndex = -1;
    unsigned int frameIndex = 0;
    int time = 0;
};

namespace {

// The ticks before frame \a index: -1 when one of them holds for ever.
int startOf(AnimationCode const *animation, unsigned int index)
{
    int sum = 0;
    for (unsigned int i = index; i-- > 0;) {
        int const delay = animation->frameAt(i)->delay();
        if (delay < 0)
            return -1;
        sum += delay;
    }
    return sum;
}

} // namespace

AnimationPlayer::AnimationPlayer() : d(new AnimationPlayerPrivate) {}

AnimationPlayer::~AnimationPlayer() = default;

AnimationPlayer::AnimationPlayer(AnimationPlayer const &other) = default;

AnimationPlayer &AnimationPlayer::operator=(AnimationPlayer const &other) = default;

bool AnimationPlayer::change(Animations *animations, int index, bool force)
{
    bool const proceed = animations && index >= 0 &&
        static_cast<unsigned int>(index) <= animations->count() &&
        (force || animations != d->animations || index != d->animationIndex);
    if (proceed) {
        d->animations = animations;
        AnimationCode *animation = static_cast<unsigned int>(index) < animations->count()
            ? animations->at(static_cast<unsigned int>(index))
            : nullptr;
        if (animation) {
            d->totalTime = 0;
            d->loopTime = 0;
            d->loopStart = animation->loopStart();
            QList<FrameCode *> const &frames = animation->frames();
            for (int i = 0; i < frames.size(); ++i) {
                int const delay = frames.at(i)->delay();
                if (i < d->loopStart)
                    d->loopTime += delay;
                if (d->totalTime >= 0)
                    d->totalTime = delay < 0 ? -1 : d->totalTime + delay;
            }
            d->animationIndex = index;
            d->frameIndex = 0;
            m_frameTime = 0;
            d->time = 0;
            updateFrame();
            return true;
        }
    }
    d->animations = nullptr;
    d->frameIndex = 0;
    d->time = 0;
    m_frameTime = 0;
    updateFrame();
    return false;
}

void AnimationPlayer::updateFrame()
{
    AnimationCode const *animation = d->animation();
    if (!animation) {
        m_currentFrame = nullptr;
        m_nextFrame = nullptr;
        return;
    }
    FrameCode *const before = m_currentFrame;
    unsigned int const count = animation->frameCount();
    // Frames may have gone under the player with the text.
    if (d->frameIndex >= count)
        m_currentFrame = nullptr;
    for (unsigned int i = d->frameIndex; i < count; ++i) {
        if (d->time < startOf(animation, i))
            break;
        d->frameIndex = i;
        m_currentFrame = animation->frameAt(i);
    }
    if (m_currentFrame != before) {
        m_frameTime = 0;
        unsigned int const following = d->frameIndex + 1;
        if (following < count)
            m_nextFrame = animation->frameAt(following);
        else if (d->loopStart >= 0 && static_cast<unsigned int>(d->loopStart) < count)
            m_nextFrame = animation->frameAt(static_cast<unsigned int>(d->loopStart));
        else
            m_nextFrame = nullptr;
    }
}

int AnimationPlayer::tick()
{
    updateFrame();
    if (!d->animations || d->animations->count() == 0 || !d->animation())
        return 0;
    if (d->totalTime != -1 && d->totalTime <= d->time) {
        m_frameTime = 0;
        d->time = d->loopTime;
        d->frameIndex = static_cast<unsigned int>(qMax(d->loopStart, 0));
        updateFrame();
    }
    ++m_frameTime;
    return d->time++;
}

void AnimationPlayer::reset()
{
    d->frameIndex = 0;
    d->time = 0;
    m_frameTime = 0;
    updateFrame();
}

FrameCode *AnimationPlayer::currentFrame() const
{
    return m_currentFrame;
}

FrameCode *AnimationPlayer::nextFrame() const
{
    return m_nextFrame;
}

unsigned int AnimationPlayer::frameTime() const
{
    return m_frameTime;
}

} // namespace Kenro
