// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <tarn/Character.h>
#include <tarn/Export.h>
#include <tarn/Settings.h>
#include <tarn/Time.h>
#include <tarn/Tracks.h>
#include <tsignal/Signal.h>

#include <list>
#include <memory>
#include <string>

namespace tarn {

/// The top of the model: the characters being captured, which of them are selected and which one is
/// current, a scene time, two texts, and a take. Characters are the scene's children and found by
/// their type; selection and current character are kept beside the links and accept any pointer.
///
/// The scene stores and announces its time and its take; it connects neither to anything.
///
/// Ownership: characters are linked, not owned; the take is shared.
/// Threads: only the signals lock; everything else is used from one thread at a time.
class TARN_EXPORT Scene : public Settings {
public:
    Scene();
    ~Scene() override;
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    /// Links a character, then emits `onCharacterAdded`. Nothing is checked.
    void addCharacter(Character* character);
    /// Deselects `character` if it is selected; makes the first other character current if it is
    /// the current one; then, if it is a character of this scene, emits `onCharacterWillRemove` and
    /// unlinks it. It is not deleted.
    void removeCharacter(Character* character);
    /// Every child that is a character, in the order in which they were added.
    std::list<Character*> characters();
    /// The first character with this `characterName()`, or null.
    Character* findCharacter(const std::string& name) const;
    /// Every character with this `characterName()`, in the order in which they were added.
    std::list<Character*> findCharacters(const std::string& name);

    /// Appends to the selection and emits `onSelectedCharacter`, unless it is selected already.
    void selectCharacter(Character* character);
    /// Takes out of the selection, between `onWillDeselectCharacter` and `onDidDeselectCharacter`,
    /// if it is selected.
    void deselectCharacter(Character* character);
    bool isCharacterSelected(Character* character);
    /// In the order of selection.
    std::list<Character*> selectedCharacters();

    /// May be null.
    Character* currentCharacter();
    /// Changes it between `onWillChangeCurrentCharacter` and `onCurrentCharacterChanged`, if it is
    /// another one.
    void setCurrentCharacter(Character* character);

    std::string description();
    /// Emits `onDescriptionChanged` on every call.
    void setDescription(const std::string& description);
    std::string note();
    /// Emits `onNoteChanged` on every call.
    void setNote(const std::string& note);

    const Time& sceneTime() const;
    /// Emits `onSceneTimeChanged` if the time differs in frame index or rate.
    void setSceneTime(const Time& time);

    /// The take; may be empty.
    std::shared_ptr<Tracks> tracks();
    /// Replaces the take between `onWillChangeTracks` and `onTracksChanged`, if it is another one.
    void setTracks(std::shared_ptr<Tracks> tracks);

    tsignal::Signal<Character*>& onCharacterAdded();
    tsignal::Signal<Character*>& onCharacterWillRemove();
    tsignal::Signal<Character*>& onSelectedCharacter();
    tsignal::Signal<Character*>& onWillDeselectCharacter();
    tsignal::Signal<Character*>& onDidDeselectCharacter();
    /// The old current character, which may be null.
    tsignal::Signal<Character*>& onWillChangeCurrentCharacter();
    /// The new current character, which may be null.
    tsignal::Signal<Character*>& onCurrentCharacterChanged();
    tsignal::Signal<std::string>& onDescriptionChanged();
    tsignal::Signal<std::string>& onNoteChanged();
    tsignal::Signal<const Time&>& onSceneTimeChanged();
    /// The old take, which may be empty.
    tsignal::Signal<std::shared_ptr<Tracks>>& onWillChangeTracks();
    /// The new take, which may be empty.
    tsignal::Signal<std::shared_ptr<Tracks>>& onTracksChanged();

private:
    struct PrivateData;
    std::unique_ptr<PrivateData> d_;
};

} // namespace tarn
