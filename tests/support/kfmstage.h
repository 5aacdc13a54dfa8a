#pragma once

// For suites that link the IKEMEN formats: kfm's sprites and actions on a stage.
#include <ikemen/air/airdocument.h>
#include <ikemen/air/airnodes.h>
#include <ikemen/sff/sffsprites.h>

#include <kenro/code/animationcode.h>
#include <kenro/imaging/spriteprovider.h>
#include <kenro/project/filesystemarchive.h>

#include <memory>

namespace KenroTest {

/// The items of a stage, kept by the test.
class StageSprites : public Kenro::SpriteProvider
{
public:
    QList<Info> items;
    unsigned int count() const override { return unsigned(items.size()); }
    Kenro::PropertyItem *item(unsigned int) const override { return nullptr; }
    Info *info(unsigned int index) override { return index < count() ? &items[index] : nullptr; }
};

/// kfm's archive and animations, read from the test data.
struct Kfm
{
    std::shared_ptr<Kenro::Ikemen::SffSprites> sprites{new Kenro::Ikemen::SffSprites,
                                                       [](Kenro::Object *s) { s->release(); }};
    Kenro::Ikemen::AirDocument air;

    bool load(QString const &root)
    {
        Kenro::Archive &files = Kenro::FileSystemArchive::instance();
        QString const dir = root + QStringLiteral("/game/chars/kfm/");
        return sprites->fromFile(files, dir + QStringLiteral("kfm.sff"), 0, nullptr) &&
            air.fromFile(files, dir + QStringLiteral("kfm.air"), 0, nullptr);
    }
    Kenro::Ikemen::AirFrame *frame(int action, int index) const
    {
        Kenro::Animations *list = air.animations();
        Kenro::AnimationCode *a = list->at(unsigned(list->find(0, action)));
        return a ? static_cast<Kenro::Ikemen::AirFrame *>(a->frameAt(unsigned(index))) : nullptr;
    }
    /// The item that shows \a frame: its sprite at its offset, flipped, turned and blended.
    Kenro::SpriteProvider::Info info(Kenro::Ikemen::AirFrame const *frame) const
    {
        auto const &f = frame->fields();
        Kenro::SpriteProvider::Info item;
        item.sprite = sprites->sprite(
            unsigned(sprites->find(0, QStringLiteral("%1, %2").arg(f.group).arg(f.image))));
        item.position = QPointF(f.x, f.y);
        item.flip = f.flip;
        item.blendMode = f.blend.mode;
        item.angle = f.angle;
        return item;
    }
};

} // namespace KenroTest
