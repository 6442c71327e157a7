#pragma once

#include <string>
#include <utility>

#include <settingscore/errors/InternalError.hpp>

/// Errors of merging trees and of exporting branches of them.
namespace settings::core::exception {

/// A merge into the root was asked for: only products and groups take one.
class SETTINGSCORE_API CannotMergeWithSettingsRoot : public InternalError,
                                                     public detail::WithObjectInvolved {
public:
    explicit CannotMergeWithSettingsRoot(NodePtr node) : WithObjectInvolved(std::move(node)) {}
    char const* what() const noexcept override {
        return "Users can only  merge settings with product node or sub-product node. Users cannot "
               "merge settings directly with Settings root.";
    }
};

/// The source of a merge is the target, or stands above it.
class SETTINGSCORE_API ErrorMergingWithCircularReference : public InternalError,
                                                           public detail::WithObjectInvolved,
                                                           public detail::WithCausingObject {
public:
    ErrorMergingWithCircularReference(NodePtr node, NodePtr causingNode)
        : WithObjectInvolved(std::move(node)), WithCausingObject(std::move(causingNode)) {}
    char const* what() const noexcept override {
        return "Cannot merge two settings who has same ancestor.";
    }
};

/// The source of a merge is part of an instance's tree.
class SETTINGSCORE_API CanOnlyMergeTreeNodeWithStandaloneNode : public InternalError,
                                                                public detail::WithObjectInvolved {
public:
    /// `getObjectInvovled` gives the first node, the source; the other is only kept alive.
    CanOnlyMergeTreeNodeWithStandaloneNode(NodePtr node, NodePtr other)
        : WithObjectInvolved(std::move(node)), other_(std::move(other)) {}
    char const* what() const noexcept override {
        return "Cannot only merge a node on the tree with a standalone node.";
    }

private:
    NodePtr other_;
};

/// Two nodes that are to become one do not fit together.
class SETTINGSCORE_API ErrorMergingNodesWithDiffAttr : public InternalError {
public:
    ErrorMergingNodesWithDiffAttr(NodePtr source, NodePtr destination, ustring attributes)
        : source_(std::move(source)),
          destination_(std::move(destination)),
          attributes_(std::move(attributes)) {}
    char const* what() const noexcept override {
        return "The nodes should be the same, but they have different attributes' value. Cannot "
               "merge them.";
    }
    /// The node that was to be merged.
    NodePtr const& getSrcObject() const { return source_; }
    /// The node that it was to be merged into.
    NodePtr const& getDesObject() const { return destination_; }
    /// The attributes that differ, each with ", " behind it.
    ustring const& getDiffAttrNameList() const { return attributes_; }

private:
    NodePtr source_;
    NodePtr destination_;
    ustring attributes_;
};

/// A key was to get a second runtime default.
class SETTINGSCORE_API MultipleRuntimeFuncError : public InternalError,
                                                  public detail::WithCausingObject {
public:
    explicit MultipleRuntimeFuncError(NodePtr node) : WithCausingObject(std::move(node)) {}
    char const* what() const noexcept override {
        return "There are multiple runtime function defined on this key. This is not allowed.";
    }
};

/// The root was to be exported: only products and what is below them are.
class SETTINGSCORE_API CannotExportSettingsRoot : public InternalError,
                                                  public detail::WithObjectInvolved {
public:
    explicit CannotExportSettingsRoot(NodePtr node) : WithObjectInvolved(std::move(node)) {}
    char const* what() const noexcept override {
        return "Users can only export product node or sub product node.";
    }
};

/// A node that is not part of an instance's tree was to be exported.
class SETTINGSCORE_API CannotExportStandaloneSettings : public InternalError,
                                                        public detail::WithObjectInvolved {
public:
    explicit CannotExportStandaloneSettings(NodePtr node) : WithObjectInvolved(std::move(node)) {}
    char const* what() const noexcept override {
        return "Users can only export settings node on the settings tree.";
    }
};

/// One export was to hold nodes of two products.
class SETTINGSCORE_API ErrorExportMultipleNodesBelongsToDiffProducts : public InternalError {
public:
    ErrorExportMultipleNodesBelongsToDiffProducts(std::string product1, std::string product2)
        : product1_(std::move(product1)), product2_(std::move(product2)) {}
    char const* what() const noexcept override {
        return "The exported node belongs to the different product.";
    }
    /// @{
    /// The two products.
    std::string const& getProduct1Name() const { return product1_; }
    std::string const& getProduct2Name() const { return product2_; }
    /// @}

private:
    std::string product1_;
    std::string product2_;
};

/// A factory file was to be made of a node in an instance's tree.
class SETTINGSCORE_API ErrorCreateFactoryFileFromATreeNode : public InternalError,
                                                             public detail::WithObjectInvolved {
public:
    explicit ErrorCreateFactoryFileFromATreeNode(NodePtr node)
        : WithObjectInvolved(std::move(node)) {}
    char const* what() const noexcept override {
        return "Cannot create a factory file from a settings node on the Settings tree. Please "
               "create/edit factory file with a standalone node.";
    }
};

}  // namespace settings::core::exception
