#include <kenro/engine/ktranslator.h>

namespace Kenro {

KTranslator::KTranslator(QObject *parent) : QObject(parent) {}

KTranslator::~KTranslator() = default;

KTranslator *KTranslator::instance()
{
    // Made at first use and destroyed at exit.
    static KTranslator translator;
    return &translator;
}

QString KTranslator::text(int id)
{
    switch (id) {
    case 0:
        return tr("System");
    case 1:
        return tr("No document.");
    case 2:
        return tr("Reload");
    case 3:
        return tr("Do you want to reload the file using the specified encoding?\nThis will make "
                  "the editor display characters using this encoding, otherwise characters will "
                  "remain unchanged and only saved using this encoding.");
    case 4:
        return tr("Code toolbar");
    case 5:
        return tr("Centralize origin");
    case 6:
        return tr("Main cross");
    case 7:
        return tr("Secondary cross");
    case 8:
        return tr("Extra cross");
    case 9:
        return tr("Rulers");
    case 10:
        return tr("Guide lines");
    case 11:
        return tr("Attack Box");
    case 12:
        return tr("Collision Box");
    case 13:
        return tr("Code snippets");
    case 14:
        return tr("Insert code snippet");
    case 15:
        return tr("New code snippet");
    case 16:
        return tr("Edit code snippet");
    case 17:
        return tr("Code");
    case 18:
        return tr("Go to line...");
    case 19:
        return tr("Previous syntax error");
    case 20:
        return tr("Next syntax error");
    case 21:
        return tr("Previous deprecation");
    case 22:
        return tr("Next deprecation");
    case 23:
        return tr("Comment/Uncomment selection");
    case 24:
        return tr("Fold all code blocks");
    case 25:
        return tr("Unfold all coded blocks");
    case 26:
        return tr("Auto-indent selection");
    case 27:
        return tr("Auto-format selection");
    case 28:
        return tr("Encoding");
    case 29:
        return tr("New");
    case 30:
        return tr("Open");
    case 31:
        return tr("Save");
    case 32:
        return tr("Save as...");
    case 33:
        return tr("Palettes");
    case 34:
        return tr("Clear");
    case 35:
        return tr("Clear all unused");
    case 36:
        return tr("Add");
    case 37:
        return tr("Delete");
    case 38:
        return tr("Remove all duplicates");
    case 39:
        return tr("Change...");
    case 40:
        return tr("Save as...");
    case 41:
        return tr("Remap");
    case 42:
        return tr("Undo");
    case 43:
        return tr("Redo");
    case 44:
        return tr("Exchange position of selected colors");
    case 45:
        return tr("Sets the color of the selected slots");
    case 46:
        return tr("Apply to the sprites");
    case 47:
        return tr("Previous palette");
    case 48:
        return tr("Next palette");
    case 49:
        return tr("Open palette");
    case 50:
        return tr("Save current palette");
    case 51:
        return tr("Animations");
    case 52:
        return tr("Edit code");
    case 53:
        return tr("Add");
    case 54:
        return tr("Delete");
    case 55:
        return tr("Duplicate");
    case 56:
        return tr("Edit animation code");
    case 57:
        return tr("Save as animated GIF...");
    case 58:
        return tr("Play");
    case 59:
        return tr("Stop");
    case 60:
        return tr("Move 1px to the left");
    case 61:
        return tr("Move 1px up");
    case 62:
        return tr("Move 1px to the right");
    case 63:
        return tr("Move 1px down");
    case 64:
        return tr("Add frame");
    case 65:
        return tr("Delete frame");
    case 66:
        return tr("Add Attack box");
    case 67:
        return tr("Add Collision box");
    case 68:
        return tr("Delete selected Contact boxes");
    case 69:
        return tr("Delete all Contact boxes");
    case 70:
        return tr("Delete all Contact boxes of current animation");
    case 71:
        return tr("Switch Contact box type");
    case 72:
        return tr("Copy Contact boxes of previous frame");
    case 73:
        return tr("Use these Contact boxes in all other instances of this frame");
    case 74:
        return tr("Optimize");
    case 75:
        return tr("Export...");
    case 76:
        return tr("Import...");
    case 77:
        return tr("Import from another project...");
    case 78:
        return tr("Apply time to all next frames");
    case 79:
        return tr("Apply flip to all next frames");
    case 80:
        return tr("Apply offset to all next frames");
    case 81:
        return tr("Apply scale to all next frames");
    case 82:
        return tr("Alignment Tool");
    case 83:
        return tr("Frames:");
    case 84:
        return tr("X axis:");
    case 85:
        return tr("Y axis:");
    case 86:
        return tr("Flip:");
    case 87:
        return tr("None");
    case 88:
        return tr("Vertically");
    case 89:
        return tr("Horizontally");
    case 90:
        return tr("Both");
    case 91:
        return tr("X scale:");
    case 92:
        return tr("Y scale:");
    case 93:
        return tr("Angle:");
    case 94:
        return tr("Time:");
    case 95:
        return tr("Previous animation");
    case 96:
        return tr("Next animation");
    case 97:
        return tr("Previous frame");
    case 98:
        return tr("Next frame");
    case 99:
        return tr("OnionSkin");
    case 100:
        return tr("Find animation");
    case 101:
        return tr("Sprites");
    case 102:
        return tr("Previous sprite");
    case 103:
        return tr("Next sprite");
    case 104:
        return tr("Move canvas");
    case 105:
        return tr("Move selection");
    case 106:
        return tr("Rectangle selection");
    case 107:
        return tr("Free selection");
    case 108:
        return tr("Magic Wand");
    case 109:
        return tr("Color picker");
    case 110:
        return tr("Pen");
    case 111:
        return tr("Eraser");
    case 112:
        return tr("Remap pen");
    case 113:
        return tr("Paint bucket");
    case 114:
        return tr("Normal");
    case 116:
        return tr("Multiply");
    case 117:
        return tr("Screen");
    case 118:
        return tr("Overlay");
    case 119:
        return tr("Darken");
    case 120:
        return tr("Lighten");
    case 121:
        return tr("Color Dodge");
    case 122:
        return tr("Color Burn");
    case 123:
        return tr("Hard Light");
    case 124:
        return tr("Soft Light");
    case 125:
        return tr("Difference");
    case 126:
        return tr("Exclusion");
    case 127:
        return tr("Layers");
    case 128:
        return tr("Add");
    case 129:
        return tr("Delete");
    case 130:
        return tr("Duplicate");
    case 131:
        return tr("Merge visible");
    case 132:
        return tr("Merge all");
    case 133:
        return tr("Save visible as sprites");
    case 134:
        return tr("Play");
    case 136:
        return tr("Change image...");
    case 137:
        return tr("Save image changes");
    case 138:
        return tr("Save image...");
    case 139:
        return tr("Play layers");
    case 140:
        return tr("Crop image");
    case 145:
        return tr("Switch to the frame's sprite");
    case 146:
        return tr("Original");
    case 147:
        return tr("Image");
    case 148:
        return tr("Properties");
    case 149:
        return tr("Resize");
    case 150:
        return tr("Rotation");
    case 151:
        return tr("Rotate");
    case 152:
        return tr("Flip horizontally");
    case 153:
        return tr("Flip vertically");
    case 154:
        return tr("Split channels");
    case 155:
        return tr("Select");
    case 156:
        return tr("All");
    case 157:
        return tr("Deselect");
    case 158:
        return tr("Invert");
    case 159:
        return tr("Switch to the sprite palette");
    case 160:
        return tr("Sounds");
    case 163:
        return tr("Change sound...");
    case 164:
        return tr("Save sound as...");
    case 165:
        return tr("Resample");
    case 168:
        return tr("Play with loop");
    case 169:
        return tr("Pause");
    case 174:
        return tr("Previous sound");
    case 176:
        return tr("Next sound");
    case 179:
        return tr("Remove selected");
    case 180:
        return tr("Fill silence");
    case 181:
        return tr("Fade in");
    case 182:
        return tr("Fade out");
    case 183:
        return tr("Save changes");
    case 184:
        return tr("Discard changes");
    case 185:
        return tr("Effects");
    case 186:
        return tr("Selection:");
    case 187:
        return tr("Start:");
    case 188:
        return tr("End:");
    case 189:
        return tr("Selection start:");
    case 190:
        return tr("Selection end:");
    case 191:
        return tr("Current sample:");
    case 192:
        return tr("Move view offset");
    case 193:
        return tr("Zoom");
    case 194:
        return tr("Free selection");
    case 195:
        return tr("Move selection");
    case 196:
        return tr("Horizontal resizer");
    case 197:
        return tr("Vertical resizer");
    case 198:
        return tr("Wave draw tool");
    case 199:
        return tr("Organizer");
    case 200:
        return tr("Move one position up");
    case 201:
        return tr("Move one position down");
    case 202:
        return tr("Move ten positions up");
    case 203:
        return tr("Move ten positions down");
    case 204:
        return tr("Move to the top");
    case 205:
        return tr("Move to the bottom");
    case 206:
        return tr("Organize automatically");
    case 207:
        return tr("Sprite explorer");
    case 208:
        return tr("Add selected to the current animation");
    case 209:
        return tr("Add all to the current animation");
    case 210:
        return tr("New animation with selected");
    case 211:
        return tr("New animation with all");
    case 212:
        return tr("Add selected as layers");
    case 213:
        return tr("Add all as layers");
    case 214:
        return tr("Add selected as layers (aligned)");
    case 215:
        return tr("Add all as layers (aligned)");
    case 216:
        return tr("Save selected images");
    case 217:
        return tr("Emulator");
    default:
        return QString();
    }
}

QString KTranslator::toolTip(int id)
{
    if (id < 4 || id > 173)
        return QString();
    switch (id) {
    case 4:
        return tr("Show/Hide the code toolbar in all code editors");
    case 5:
        return tr("Place the origin at the center of the workspace");
    case 6:
        return tr("Show/Hide the main cross");
    case 7:
        return tr("Show/Hide the secondary cross");
    case 8:
        return tr("Show/Hide the extra cross");
    case 9:
        return tr("Show/Hide the Rulers");
    case 10:
        return tr("Show/Hide the Guide lines");
    case 11:
        return tr("Show/Hide the Attack contact boxes");
    case 12:
        return tr("Show/Hide the Collision contact boxes");
    case 14:
        return tr("Insert the current code snippet");
    case 15:
        return tr("Create a new code snippet");
    case 16:
        return tr("Edit the current code snippet");
    case 18:
        return tr("Go to the specifed line");
    case 19:
        return tr("Go to the previous syntax error");
    case 20:
        return tr("Go to the next syntax error");
    case 21:
        return tr("Go to the previous deprecation");
    case 22:
        return tr("Go to the next deprecation");
    case 23:
        return tr("Comment/Uncomment all selected lines");
    case 26:
        return tr("Auto-indent selected lines");
    case 27:
        return tr("Auto-format selected lines");
    case 28:
        return tr("Selects the file encoding");
    case 34:
        return tr("Remove all palettes");
    case 35:
        return tr("Remove all unused palettes");
    case 36:
        return tr("Add one or more palettes");
    case 37:
        return tr("Remove the current palette");
    case 38:
        return tr("Remove all duplicate palettes");
    case 39:
        return tr("Define new colors to the palette from a file...");
    case 40:
        return tr("Save the palette as a file...");
    case 41:
        return tr("Open the palette Remap tool");
    case 46:
        return tr("Apply the current palette to the specified sprites");
    case 49:
        return tr("Open palette from a file...");
    case 50:
        return tr("Save current palette to a new file...");
    case 52:
        return tr("Edit animation code in code editor");
    case 53:
        return tr("Add a new animation");
    case 54:
        return tr("Remove the current animation");
    case 55:
        return tr("Duplicate the current animation");
    case 56:
        return tr("Edit the code of current animation");
    case 57:
        return tr("Save the current animation as an animated GIF...");
    case 58:
        return tr("Play the current animation");
    case 59:
        return tr("Stop the animation");
    case 60:
        return tr("Move the sprite 1px to the left");
    case 61:
        return tr("Move the sprite 1px up");
    case 62:
        return tr("Move the sprite 1px to the right");
    case 63:
        return tr("Move the sprite 1px down");
    case 64:
        return tr("Add a new frame in the animation");
    case 65:
        return tr("Remove the current frame");
    case 66:
        return tr("Enable/disable the drawing mode for Attack contact box");
    case 67:
        return tr("Enable/disable the drawing mode for Collision contact box");
    case 68:
        return tr("Remove all selected Contact boxes");
    case 69:
        return tr("Remove all Contact boxes of current frame");
    case 70:
        return tr("Remove all Contact boxs of current animation");
    case 71:
        return tr("Switch type of all selected Contact boxes");
    case 72:
        return tr("Copy all Contact boxes of previous frame");
    case 74:
        return tr("Optimize animation code");
    case 75:
        return tr("Export one or more animations to file system...");
    case 76:
        return tr("Import one or more animations from file system...");
    case 77:
        return tr("Import one or more animations from another opened project...");
    case 99:
        return tr("Enable OnionSkin");
    case 102:
        return tr("Previous sprite");
    case 103:
        return tr("Next sprite");
    case 115:
        return tr("Add one or more sprites");
    case 128:
        return tr("Add a new layer");
    case 129:
        return tr("Remove the current layer");
    case 130:
        return tr("Duplicate the current layer");
    case 131:
        return tr("Merge all visible layers into one");
    case 132:
        return tr("Merge all layers into one");
    case 135:
        return tr("Remove the current sprite");
    case 136:
        return tr("Change the image of the sprite from a file...");
    case 137:
        return tr("Save changes on current sprite");
    case 138:
        return tr("Save one or more sprites as image files...");
    case 140:
        return tr("Remove free borders from the current sprite");
    case 141:
        return tr("Duplicate the current sprite");
    case 142:
        return tr("Export one or more sprites to file system...");
    case 143:
        return tr("Import one or more sprites from file system...");
    case 144:
        return tr("Import one or more sprites from another opened project...");
    case 145:
        return tr("Switch to the sprite of the current frame");
    case 146:
        return tr("Split the viewport with the Original size at left");
    case 148:
        return tr("Canvas properties (format and size)");
    case 149:
        return tr("Resize all layers");
    case 151:
        return tr("Rotate all layers");
    case 152:
        return tr("Flip all layers horizontally");
    case 153:
        return tr("Flip all layers vertically");
    case 156:
        return tr("Select the entire canvas");
    case 157:
        return tr("Clear any selection");
    case 158:
        return tr("Invert the current selection");
    case 159:
        return tr("Switch the current palette to the palette of the sprite");
    case 161:
        return tr("Add one or more sounds");
    case 162:
        return tr("Remove the current sound");
    case 163:
        return tr("Change the current sound from a file...");
    case 164:
        return tr("Save the sound as WAV...");
    case 165:
        return tr("Resample one or more sounds");
    case 166:
        return tr("Duplicate the current sound");
    case 167:
        return tr("Play the current sound");
    case 168:
        return tr("Play the current sound with infinite loop");
    case 170:
        return tr("Stop the sound");
    case 172:
        return tr("Import one or more sounds from file system...");
    case 173:
        return tr("Import one or more sounds from another opened project...");
    default:
        return QString();
    }
}

} // namespace Kenro
