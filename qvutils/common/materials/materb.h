#pragma once
#include <atomic>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <vector>

#include "qvutils/common/materials/materbase.h"
#include "qvutils/common/materials/materialdata.h"
#include "qvutils/common/materials/tensors.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

/// A material of a material file: optical and other constants at a composition (mx, my: the
/// fractions of a ternary or quaternary alloy), a wavelength lambda in micrometres and a
/// temperature T in kelvin.
///
/// Fields vary with exp(-i w t). Loss is that of power, in 1/cm: alpha = 4 pi k / lambda, and
/// permittivity is (n + i k)^2 over the permeability; index, loss and permittivity agree whichever
/// of them the file gives. Axes are the waveguide's: x sideways, y up, z along.
///
/// Queries may run on several threads at once, also while the file is loaded again. Failures are
/// posted to qverr() and give a neutral value. A query outside of what a model was published for
/// warns once per material and kind of query.
///
/// Applications derive from this class and install a factory (Materbase::setNewMaterFn).
class QVCORE_API MaterB {
public:
    explicit MaterB(const char* name = "");
    MaterB(const MaterB&) = delete;
    MaterB& operator=(const MaterB&) = delete;
    virtual ~MaterB();
    /// Makes it a material without any parameter.
    virtual void Init();
    /// Takes all parameters of the other; name and owner stay. Used for `<< base` and, when a file
    /// has been loaded again, to take over the new contents.
    virtual void Copy(const MaterB& other);
    /// Called once after the file has been read: checks what can be checked only then, and makes
    /// the parameters those of the queries. Posts an error when they do not fit together.
    virtual void Complete();
    /// Reads the values of a parameter keyword. False without an error when the keyword is none;
    /// false with one when the values are wrong.
    virtual bool ReadDef(const char* keyword, FILE* file);

    const char* getName() const { return name_; }
    void setName(const char* name) { name_ = name; }
    /// Null for a material that belongs to no file.
    Materbase* getOwner() const { return owner_; }
    void setOwner(Materbase* owner) { owner_ = owner; }

    /// The crystal cut "XCUT", "YCUT", "ZCUT", or "<orientation> (a b c) (d e f) (g h i)". Posts
    /// "Expected <orientation>\n", "Expected 9 params in orientation matrix\n", "unexpected string
    /// \"%s\"\n".
    bool setOrientation(const char* text);

    // What the definition says.
    const char* getmxName() const;
    const char* getmyName() const;
    double getLambdaRef() const;
    double getTempRef() const;
    /// The keyword that defined the index, or the permittivity; empty for none.
    QVString getModelName() const;
    bool isEpsDefined() const;
    bool isMuDefined() const;
    bool isEpsFull() const;
    bool isMuFull() const;
    /// Either of the two tensors is full.
    bool isFullTensor() const;
    bool isTensorRotat() const;
    bool isOptic_Rotat() const;
    void setEpsFullFlag(bool full);
    void setMuFullFlag(bool full);
    double getEpsInfty() const;
    double getMuInfty() const;
    /// The permittivity is the primary quantity: index and loss follow from it.
    bool useEpsilonFn() const;

    // Refractive index, group index and loss. A single number is that along x; index and loss along
    // an axis are those of the diagonal element of the permittivity (and permeability) there, in
    // the axes of the waveguide. Neutral values are 1, and 0 for the loss.
    double nr(double mx, double my, double lambda, double T) const;
    DStensor nrani(double mx, double my, double lambda, double T) const;
    /// The static index, from RIX_DC.
    DStensor nrDC(double mx, double my) const;
    /// n - lambda dn/dlambda with the exact derivative, unless the file gives the group index.
    double ng(double mx, double my, double lambda, double T) const;
    double alpha(double mx, double my, double lambda, double T) const;
    DStensor alphaani(double mx, double my, double lambda, double T) const;
    DStensor getNrFromFullTensor(double mx, double my, double lambda, double T) const;
    DStensor getAlphaFromFullTensor(double mx, double my, double lambda, double T) const;

    // Relative permittivity and permeability, in the axes of the waveguide: turned by crystal cut
    // and RIX_ANIROTATION. aniEpsRot is getAniEpsFull.
    CStensor eps(double mx, double my, double lambda, double T) const;
    /// The same with d(eps)/d(lambda) in 1/um, exact: that of the model or, where the file gives a
    /// group index, such that it has that one. Posts an error too when a formula of the file has a
    /// function without a derivative.
    CStensor eps(double mx, double my, double lambda, double T, CStensor& slope) const;
    CStensor mu(double mx, double my, double lambda, double T) const;
    CFtensor getAniEpsFull(double mx, double my, double lambda, double T) const;
    CFtensor getAniMuFull(double mx, double my, double lambda, double T) const;
    CFtensor aniEpsRot(double mx, double my, double lambda, double T) const;

    /// For many wavelengths at once; as many results as wavelengths. False when a value failed: the
    /// error is that of the first.
    bool nr(double mx, double my, std::span<const double> lambda, double T,
            std::span<double> results) const;
    bool ng(double mx, double my, std::span<const double> lambda, double T,
            std::span<double> results) const;
    bool alpha(double mx, double my, std::span<const double> lambda, double T,
               std::span<double> results) const;
    bool eps(double mx, double my, std::span<const double> lambda, double T,
             std::span<std::complex<double>> results) const;

    // Semiconductor. N is the carrier density in 1e18 cm^-3, S the photon density in 1e18 cm^-3,
    // polarisation 0 for any, 1 for TE, 2 for TM.
    double Eg(double mx, double my, double lambda, double T) const;
    /// Per unit of length, in 1/cm, from GAINL_... keywords.
    double Gainz(double mx, double my, double lambda, double T, double N, int polarisation = 0,
                 double S = 0) const;
    /// Per unit of time, in 1/ns, from GAIN_... keywords.
    double Gaint(double mx, double my, double lambda, double T, double N, int polarisation = 0,
                 double S = 0) const;
    /// Rates of spontaneous recombination in 1e18 cm^-3 / ns: of all kinds, and radiative.
    double Rts(double mx, double my, double lambda, double T, double N) const;
    double Rtsr(double mx, double my, double lambda, double T, double N) const;
    /// Diffusion constant in cm^2/s.
    double Ddif(double mx, double my, double lambda, double T, double N = 0) const;

    // Other constants, in the units of the file: pm/V, m^2/V^2, 1/K, W/(m K), 1, GPa.
    double Chi2(double mx, double my, double lambda, double T) const;
    double Chi3(double mx, double my, double lambda, double T) const;
    double ThExp(double mx, double my, double lambda, double T) const;
    double ThCon(double mx, double my, double lambda, double T) const;
    double PR(double mx, double my, double lambda, double T) const;
    double YM(double mx, double my, double lambda, double T) const;

    /// Electro-optic coefficients in pm/V; false when there are none. Rows xx, yy, zz, yz, xz, xy.
    bool EOCoefs(double coefs[6][3]) const;
    /// Photo-elastic coefficients of the three normal strains, and of all six.
    bool PhotoElasticTensor(double coefs[6][3]) const;
    bool PhotoElasticTensor(double coefs[6][6]) const;
    /// Change of the index along the axes by an electric field in V/um, and by strains xx, yy, zz,
    /// yz, xz, xy (shear strains twice the tensor's elements), to first order. Fields, strains and
    /// changes are along the axes of the waveguide, coefficients along those of the crystal.
    DStensor eo_dnr(double mx, double my, double lambda, double T, const double field[3]) const;
    DStensor str_dnr(double mx, double my, double lambda, double T, const double strain[6]) const;

    /// What the queries read: to be asked for and used while a qvmaterial::Reading lives.
    const qvmaterial::MaterialData& data() const { return *current_.load(); }

protected:
    /// The parameters that are being read; they become those of the queries by Complete().
    qvmaterial::MaterialData& edit();

private:
    friend class qvMaterialQuery;
    using DataPtr = std::shared_ptr<const qvmaterial::MaterialData>;

    void publish(DataPtr data);

    QVString name_;
    Materbase* owner_ = nullptr;
    std::unique_ptr<qvmaterial::MaterialData> draft_;
    DataPtr keeper_;
    /// Earlier contents that a query may still read.
    std::vector<DataPtr> retired_;
    std::atomic<const qvmaterial::MaterialData*> current_;
    /// Which keywords the definition that is being read has given itself.
    std::vector<bool> given_;
    std::atomic<bool> epsFull_ = false;
    std::atomic<bool> muFull_ = false;
    /// One bit per kind of query that has warned.
    mutable std::atomic<std::uint32_t> warned_ = 0;
};
