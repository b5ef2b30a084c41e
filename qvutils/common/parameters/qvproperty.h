#pragma once
#include <complex>

#include "qvutils/common/parameters/qvparameter.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

class qvNameSpace;

/// A field of an object as a property editor shows it: a name, a type name or unit, a help text,
/// and the data, which is not owned and is read and written in place. Names and texts are literals,
/// or last as long as the property.
class QVCORE_API QVProperty {
public:
    QVProperty(const char* name, const char* type, const char* help, bool readOnly, void* data)
        : name_(name), type_(type), help_(help), readOnly_(readOnly), data_(data) {}
    QVProperty(const QVProperty&) = delete;
    QVProperty& operator=(const QVProperty&) = delete;
    virtual ~QVProperty() = default;

    const char* getName() const { return name_; }
    const char* getType() const { return type_; }
    const char* getHelpString() const { return help_; }
    bool IsReadOnly() const { return readOnly_; }
    void* getData() const { return data_; }
    /// The cell that an editor shows it in; empty for a plain text cell.
    virtual const char* getCellType() const { return ""; }

    /// The data as text for display.
    virtual QVString getText() const = 0;
    /// The data as text to be edited, which setText takes back without a loss.
    virtual QVString getEditText() const { return getText(); }
    /// Whether the two differ, so that the cell needs another text when editing begins.
    virtual bool ShouldReformatForEdit() const { return false; }
    /// Sets the data. False, with nothing changed, when it is read-only ("\"%s\" is read only!\n")
    /// or cannot be such a text ("could not set \"%s\" to \"%s\"\n"); the error is posted.
    bool setText(const QVString& text);

protected:
    /// Sets the data from a text, or returns false and changes nothing.
    virtual bool take(const QVString& text) = 0;

    template <class T>
    T& data() const {
        return *static_cast<T*>(data_);
    }

private:
    const char* name_;
    const char* type_;
    const char* help_;
    bool readOnly_;
    void* data_;
};

class QVCORE_API QVPropInt : public QVProperty {
public:
    QVPropInt(const char* name, const char* type, const char* help, bool readOnly, int* data)
        : QVProperty(name, type, help, readOnly, data) {}
    QVString getText() const override;

protected:
    bool take(const QVString& text) override;
};

/// A real number, shown with 8 digits. The unit ("um", or empty) is shown beside it.
template <class T>
class QVPropReal : public QVProperty {
public:
    QVPropReal(const char* name, const char* type, const char* help, const char* unit,
               bool readOnly, T* data)
        : QVProperty(name, type, help, readOnly, data), unit_(unit) {}
    const char* getUnit() const { return unit_; }
    QVString getText() const override;
    QVString getEditText() const override;
    bool ShouldReformatForEdit() const override { return true; }

protected:
    bool take(const QVString& text) override;

private:
    const char* unit_;
};
using QVPropFloat = QVPropReal<float>;
using QVPropDouble = QVPropReal<double>;
extern template class QVCORE_API QVPropReal<float>;
extern template class QVCORE_API QVPropReal<double>;

/// A complex number. The edit text is "(re,im)"; what is shown is read as well.
class QVCORE_API QVPropComplex : public QVProperty {
public:
    enum Display {
        parts,    ///< "(%.3g,%.3g)": real and imaginary part
        modulus,  ///< "(%.3g abs,%.3g deg)": modulus and phase in degrees
        power     ///< "(%.3g norm,%.3g deg)": the square of the modulus, and the phase
    };
    QVPropComplex(const char* name, const char* type, const char* help, const char* unit,
                  bool readOnly, std::complex<double>* data, int display)
        : QVProperty(name, type, help, readOnly, data), unit_(unit), display_(display) {}
    const char* getUnit() const { return unit_; }
    const char* getCellType() const override { return "qvComplex"; }
    QVString getText() const override;
    QVString getEditText() const override;
    bool ShouldReformatForEdit() const override { return true; }

protected:
    bool take(const QVString& text) override;

private:
    const char* unit_;
    int display_;
};

/// Shown as true or false; 1 and 0 are read as well.
class QVCORE_API QVPropBool : public QVProperty {
public:
    QVPropBool(const char* name, const char* type, bool readOnly, bool* data)
        : QVProperty(name, type, "", readOnly, data) {}
    QVString getText() const override;

protected:
    bool take(const QVString& text) override;
};

/// One character; 0 is shown as nothing and cannot be typed.
class QVCORE_API QVPropChar : public QVProperty {
public:
    QVPropChar(const char* name, const char* type, bool readOnly, char* data)
        : QVProperty(name, type, "", readOnly, data) {}
    QVString getText() const override;

protected:
    bool take(const QVString& text) override;
};

/// Text in a buffer of `length` characters, its terminator included; a longer one is refused.
class QVCORE_API QVPropCharArray : public QVProperty {
public:
    QVPropCharArray(const char* name, const char* type, bool readOnly, char* data, int length)
        : QVProperty(name, type, "", readOnly, data), length_(length) {}
    QVString getText() const override;

protected:
    bool take(const QVString& text) override;

private:
    int length_;
};

class QVCORE_API QVPropString : public QVProperty {
public:
    QVPropString(const char* name, const char* type, const char* help, bool readOnly,
                 QVString* data)
        : QVProperty(name, type, help, readOnly, data) {}
    QVString getText() const override { return data<QVString>(); }

protected:
    bool take(const QVString& text) override;
};

/// The name of a file or folder, chosen in a dialog with that title; the filter is one such as
/// "Tables (*.txt)|*.txt".
class QVCORE_API QVPropFile : public QVPropString {
public:
    enum Mode { toOpen, toSave, folder };
    QVPropFile(const char* name, const char* type, bool readOnly, QVString* data, const char* title,
               const char* filter, int mode)
        : QVPropString(name, type, "", readOnly, data),
          title_(title),
          filter_(filter),
          mode_(mode) {}
    const char* getTitle() const { return title_; }
    const char* getFilter() const { return filter_; }
    int getMode() const { return mode_; }
    const char* getCellType() const override { return "qvFile"; }

private:
    const char* title_;
    const char* filter_;
    int mode_;
};

/// One of several texts, "none|flat|smooth" say. The data is the text chosen and may be null;
/// `index` is its number from 0. What is not in the list is shown as nothing.
class QVCORE_API QVPropChoice : public QVProperty {
public:
    QVPropChoice(const char* name, const char* type, QVString* data, const char* choices,
                 int* index, bool readOnly)
        : QVProperty(name, type, "", readOnly, data), choices_(choices), index_(index) {}
    const char* getChoices() const { return choices_; }
    QVString getText() const override;

protected:
    bool take(const QVString& text) override;

private:
    const char* choices_;
    int* index_;
};

enum class QVShading : int { none, flat, smooth };

/// How a surface is drawn.
class QVCORE_API QVPropShading : public QVProperty {
public:
    QVPropShading(const char* name, const char* type, bool readOnly, QVShading* data)
        : QVProperty(name, type, "", readOnly, data) {}
    const char* getCellType() const override { return "qvShading"; }
    QVString getText() const override;

protected:
    bool take(const QVString& text) override;
};

struct QVColour {
    unsigned char red = 0;
    unsigned char green = 0;
    unsigned char blue = 0;
    bool operator==(const QVColour&) const = default;
};

/// A colour, as "#rrggbb". `colourData` is what the toolkit's colour dialog keeps between its uses;
/// it is handed on, not looked at.
class QVCORE_API QVPropColour : public QVProperty {
public:
    QVPropColour(const char* name, const char* type, bool readOnly, QVColour* data,
                 void* colourData)
        : QVProperty(name, type, "", readOnly, data), colourData_(colourData) {}
    void* getColourData() const { return colourData_; }
    const char* getCellType() const override { return "qvColour"; }
    QVString getText() const override;

protected:
    bool take(const QVString& text) override;

private:
    void* colourData_;
};

/// The colours that a program offers by name.
struct QVCustomColours {
    struct Entry {
        const char* name;
        QVColour colour;
    };
    const Entry* entries;
    int count;
};

/// A colour, by the program's name for it when it has one.
class QVCORE_API QVPropCustomColour : public QVPropColour {
public:
    QVPropCustomColour(const char* name, const char* type, bool readOnly, QVColour* data,
                       const QVCustomColours* colours)
        : QVPropColour(name, type, readOnly, data, nullptr), colours_(colours) {}
    const QVCustomColours& getCustomColours() const { return *colours_; }
    const char* getCellType() const override { return "qvCustomColour"; }
    QVString getText() const override;

protected:
    bool take(const QVString& text) override;

private:
    const QVCustomColours* colours_;
};

/// What the entry of an action opens.
class QVPopUpEditor {
public:
    virtual ~QVPopUpEditor() = default;
    virtual void Edit(void* data) = 0;
};

/// An action: it has no text, and its editor is called with the data instead.
class QVCORE_API QVPropVoid : public QVProperty {
public:
    QVPropVoid(const char* name, const char* type, const char* help, bool readOnly, void* data,
               QVPopUpEditor* editor)
        : QVProperty(name, type, help, readOnly, data), editor_(editor) {}
    /// Calls the editor; false, with the error posted, when the property is read-only.
    bool Run();
    const char* getCellType() const override { return "qvVoid"; }
    QVString getText() const override { return QVString(); }

protected:
    bool take(const QVString&) override { return false; }

private:
    QVPopUpEditor* editor_;
};

/// A parameter: its value is shown, its definition is edited. Expressions are evaluated in the
/// namespace; without one only a number, or nothing, can be given.
template <class T>
class QVPropParam : public QVProperty {
public:
    QVPropParam(const char* name, const char* type, const char* help, bool readOnly,
                qvParameter<T>* data, qvNameSpace* space)
        : QVProperty(name, type, help, readOnly, data), space_(space) {}
    QVString getText() const override;
    QVString getEditText() const override;
    bool ShouldReformatForEdit() const override { return true; }

protected:
    bool take(const QVString& text) override;

private:
    qvNameSpace* space_;
};
using QVPropParamInt = QVPropParam<int>;
using QVPropParamFloat = QVPropParam<float>;
using QVPropParamDouble = QVPropParam<double>;
using QVPropParamComplex = QVPropParam<std::complex<double>>;
extern template class QVCORE_API QVPropParam<int>;
extern template class QVCORE_API QVPropParam<float>;
extern template class QVCORE_API QVPropParam<double>;
extern template class QVCORE_API QVPropParam<std::complex<double>>;
