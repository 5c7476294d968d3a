#include <gtest/gtest.h>

#include <string>

#include "Recording/SecretFields.h"

namespace {

using CloudStorage::Recording::isSecretHeader;
using CloudStorage::Recording::maskAuthorization;
using CloudStorage::Recording::maskSecretFields;
using CloudStorage::Recording::TextKind;

std::string masked(const std::string& text, TextKind kind = TextKind::Any) {
  return maskSecretFields(text, kind, "#");
}

TEST(SecretFields, OfFormsAreMasked) {
  EXPECT_EQ(masked("code=4%2F0A,b&client_id=app&client_secret=s%26t&state=x", TextKind::Form),
            "code=#&client_id=app&client_secret=#&state=#");
  EXPECT_EQ(masked("grant_type=refresh_token&refresh_token=1//a;b)c&scope=a+b", TextKind::Form),
            "grant_type=refresh_token&refresh_token=#&scope=a+b");
}

TEST(SecretFields, OfAddressesAreMasked) {
  EXPECT_EQ(masked("https://a.test/b?prefix=x&sig=a%2Bb%3D&X-Amz-Signature=ff&X-Amz-Date=1"),
            "https://a.test/b?prefix=x&sig=#&X-Amz-Signature=#&X-Amz-Date=1");
  EXPECT_EQ(masked("https://a.test/?AWSAccessKeyId=AKIA1&Signature=abc&Expires=1#access_token=t"),
            "https://a.test/?AWSAccessKeyId=#&Signature=#&Expires=1#access_token=#");
  EXPECT_EQ(masked("see https://a.test/?code=4/0&state=s."), "see https://a.test/?code=#&state=#");
}

TEST(SecretFields, OfJsonAreMasked) {
  EXPECT_EQ(masked(R"({"access_token":"a\"b\\","expires_in":3600,"refresh_token" : "c"})"),
            R"({"access_token":"#","expires_in":3600,"refresh_token" : "#"})");
  EXPECT_EQ(masked("{\"idToken\":\n\t\"a.b.c\"}"), "{\"idToken\":\n\t\"#\"}");
  EXPECT_EQ(masked(R"({"id_token":"cut o)"), R"({"id_token":"#)");
}

TEST(SecretFields, OfJsonStayJson) {
  EXPECT_EQ(masked(R"({"access_token":123,"x":[1]})"), R"({"access_token":"#","x":[1]})");
  EXPECT_EQ(masked(R"({"access_token":null,"password":true,"sig":{"a":1}})"),
            R"({"access_token":null,"password":true,"sig":{"a":1}})");
}

TEST(SecretFields, InQuotedTextsAreMasked) {
  EXPECT_EQ(masked(R"({"m":"got {\"access_token\":\"a,b\",\"x\":1}"})"),
            R"({"m":"got {\"access_token\":\"#\",\"x\":1}"})");
  EXPECT_EQ(masked(R"({"m":"body was client_secret=a,b&x=1"})"),
            R"({"m":"body was client_secret=#&x=1"})");
  EXPECT_EQ(masked(R"({"m":"?x=1\u0026code=abc"})"), R"({"m":"?x=1\u0026code=#"})");
  EXPECT_EQ(masked(R"({"m":"\nclient_secret=abc"})"), R"({"m":"\nclient_secret=#"})");
  EXPECT_EQ(masked("?next=%3Fcode%3Dabc%26x%3D1"), "?next=%3Fcode%3D#%26x%3D1");
  EXPECT_EQ(masked("%7B%22access_token%22%3A%22abc%22%7D"), "%7B%22access_token%22%3A%22#%22%7D");
  EXPECT_EQ(masked("<m>?x=1&amp;sig=abc&amp;y=2 &quot;password&quot;: &quot;p&quot;</m>"),
            "<m>?x=1&amp;sig=#&amp;y=2 &quot;password&quot;: &quot;#&quot;</m>");
  EXPECT_EQ(masked("{'refresh_token': 'abc'}"), "{'refresh_token': '#'}");
}

TEST(SecretFields, OfXmlAreMasked) {
  EXPECT_EQ(masked("<Error><Code>SignatureDoesNotMatch</Code><AWSAccessKeyId>AKIA</AWSAccessKeyId>"
                   "<StringToSign>AWS4\nx</StringToSign><SignatureProvided>f</SignatureProvided>"
                   "<StringToSignBytes>41 57</StringToSignBytes><CanonicalRequest>GET\n&lt;"
                   "</CanonicalRequest></Error>"),
            "<Error><Code>SignatureDoesNotMatch</Code><AWSAccessKeyId>#</AWSAccessKeyId>"
            "<StringToSign>#</StringToSign><SignatureProvided>#</SignatureProvided>"
            "<StringToSignBytes>#</StringToSignBytes><CanonicalRequest>#"
            "</CanonicalRequest></Error>");
  EXPECT_EQ(masked("<AuthenticationErrorDetail xml:lang=\"en\">'abc'</AuthenticationErrorDetail>"),
            "<AuthenticationErrorDetail xml:lang=\"en\">#</AuthenticationErrorDetail>");
  EXPECT_EQ(masked("<StringToSign>cut o"), "<StringToSign>#");
  EXPECT_EQ(masked("<StringToSign"), "<StringToSign");
}

TEST(SecretFields, OfQuotedHeadersAreMasked) {
  EXPECT_EQ(masked(R"({"Authorization":"Basic dTpw","proxy-authorization":"Bearer a","n":1})"),
            R"({"Authorization":"#","proxy-authorization":"#","n":1})");
  EXPECT_EQ(masked(R"({"cookie":"a=b; c=d","Set-Cookie":["a=b","c=d"]})"),
            R"({"cookie":"#","Set-Cookie":["#","#"]})");
  EXPECT_EQ(masked("Host: a\r\nAuthorization: Bearer a,b;c)\r\nCookie: a=b&c=d; e\nAccept: *"),
            "Host: a\r\nAuthorization: #\r\nCookie: #\nAccept: *");
  EXPECT_EQ(masked(R"({"m":"Authorization: Basic a=\r\nx: y"})"),
            R"({"m":"Authorization: #\r\nx: y"})");
  EXPECT_EQ(masked("?authorization=Bearer%20abc&x=1"), "?authorization=#&x=1");
}

TEST(SecretFields, TokensAndAuthorizationCodesInJsonAreMasked) {
  EXPECT_EQ(masked(R"({"token":"abc", "token" : 17})"), R"({"token":"#", "token" : "#"})");
  EXPECT_EQ(masked(R"({"code":"4/0AX4XfWh-abcdefghij","x":1})"), R"({"code":"#","x":1})");
  EXPECT_EQ(masked(R"({"m":"{\"code\":\"4/0AX4XfWh-abcdefghij\"}"})"),
            R"({"m":"{\"code\":\"#\"}"})");
  for (const char* text :
       {R"({"code":404})", R"({"code":"itemNotFound"})", R"({"code":"4/0AX4XfWh-abcdefgh"})",
        R"({"code":123456789012345678901})", R"({"code":"Invalid_Authentication.Token"})",
        R"({"code":["a"]})", "Unexpected token: abc", "code: 4/0AX4XfWh-abcdefghij"}) {
    EXPECT_EQ(masked(text), text);
  }
}

TEST(SecretFields, OfXmlWithCredentialsAreMasked) {
  EXPECT_EQ(masked("<C><AccessKeyId>a</AccessKeyId><SecretAccessKey>b=</SecretAccessKey>"
                   "<SessionToken>c</SessionToken><s:Token x=\"1\">d</s:Token></C>"),
            "<C><AccessKeyId>#</AccessKeyId><SecretAccessKey>#</SecretAccessKey>"
            "<SessionToken>#</SessionToken><s:Token x=\"1\">#</s:Token></C>");
  EXPECT_EQ(masked("&lt;SessionToken&gt;c&lt;/SessionToken&gt;&lt;a&gt;b"),
            "&lt;SessionToken&gt;#&lt;/SessionToken&gt;&lt;a&gt;b");
  EXPECT_EQ(masked("<NextContinuationToken>c</NextContinuationToken><Code>Denied</Code>"),
            "<NextContinuationToken>c</NextContinuationToken><Code>Denied</Code>");
}

TEST(SecretFields, InArraysAreMasked) {
  EXPECT_EQ(masked(R"({"refresh_token":["a","b\"c" , ["d"], 12,null],"x":["y"]})"),
            R"({"refresh_token":["#","#" , ["#"], "#",null],"x":["y"]})");
  EXPECT_EQ(masked(R"({"m":"{\"token\":[\"a\",\"b\"],\"x\":[\"y\"]}"})"),
            R"({"m":"{\"token\":[\"#\",\"#\"],\"x\":[\"y\"]}"})");
  EXPECT_EQ(masked(R"({"token":["cut o)"), R"({"token":["#)");
  EXPECT_EQ(masked(R"({"token":[],"x":["y"]})"), R"({"token":[],"x":["y"]})");
  EXPECT_EQ(masked(R"({"token":[{"x":"y","token":"z"}]})"), R"({"token":[{"x":"y","token":"#"}]})");
}

TEST(SecretFields, UsersOfAddressesAreMasked) {
  EXPECT_EQ(masked("see https://user:p@ss@a.test:1/b@c?d@e"), "see https://#@a.test:1/b@c?d@e");
  EXPECT_EQ(masked(R"({"u":"http:\/\/user:pass@a.test\/b","v":"socks5://user@a.test"})"),
            R"({"u":"http:\/\/#@a.test\/b","v":"socks5://#@a.test"})");
  EXPECT_EQ(masked("?u=https%3A%2F%2Fuser%3Apass%40a.test%2Fb%40c"),
            "?u=https%3A%2F%2F#%40a.test%2Fb%40c");
  for (const char* text : {"https://a.test/b@c", "https://a.test?b@c", "https://a.test, b@c",
                           "https://@a.test", "://", "?u=https%3A%2F%2Fa.test%2Fb%40c"}) {
    EXPECT_EQ(masked(text), text);
  }
}

TEST(SecretFields, OtherFieldsStay) {
  for (const char* text :
       {R"({"error":{"code":"InvalidAuthenticationToken","message":"state: x"}})",
        R"({"@odata.nextLink":"https://graph.test/?$skiptoken=abc","nextPageToken":"t"})",
        "https://a.test/?continuation-token=1&startToken=2&key=3", "<Name>code</Name>",
        "The signature is wrong. The password", "", "access_token", "access_token="}) {
    EXPECT_EQ(masked(text), text);
  }
}

TEST(SecretFields, ManyIncompleteOnesTakeLinearTime) {
  for (const std::string piece :
       {"<StringToSign", "sig%3D", "\\\"sig\\\":\\\"", "sig=", "\"sig\"", "\"sig\":[",
        "\"sig\":[\"", "<token", "&lt;token", "://a", "%3A%2F%2Fa%40", "cookie:"}) {
    std::string text;
    while (text.size() < std::size_t{1} << 20U) text += piece;
    EXPECT_LE(masked(text).size(), text.size() + 1) << piece;  // ends at all
  }
}

TEST(SecretHeaders, AreKnownByTheirNames) {
  for (const char* name : {"authorization", "proxy-authorization", "cookie", "set-cookie",
                           "x-amz-security-token", "x-api-key", "x-ms-copy-source-authorization"}) {
    EXPECT_TRUE(isSecretHeader(name)) << name;
  }
  for (const char* name : {"content-type", "location", "x-amz-request-id", "www-authenticate"}) {
    EXPECT_FALSE(isSecretHeader(name)) << name;
  }
}

TEST(SecretHeaders, AuthorizationKeepsItsSchemeAndScope) {
  EXPECT_EQ(maskAuthorization("Bearer a b:c=", "#"), "Bearer #");
  EXPECT_EQ(maskAuthorization("Basic dTpw", "#"), "Basic #");
  EXPECT_EQ(maskAuthorization("token-alone", "#"), "#");
  EXPECT_EQ(maskAuthorization("SharedKey account:a+/b==", "#"), "SharedKey account:#");
  EXPECT_EQ(maskAuthorization("SharedKey a+/b==", "#"), "SharedKey #");
  EXPECT_EQ(maskAuthorization("AWS4-HMAC-SHA256 Credential=A/B/20240229/us-east-1/s3/aws4_request, "
                              "SignedHeaders=host;x-amz-date, Signature=ff00",
                              "#"),
            "AWS4-HMAC-SHA256 Credential=#/20240229/us-east-1/s3/aws4_request, "
            "SignedHeaders=host;x-amz-date, Signature=#");
}

TEST(SecretHeaders, OddAuthorizationOfAwsShowsNothing) {
  for (const char* rest : {"Credential=AKIA, Signature=f", "Credential=a/b, Signature=f"}) {
    EXPECT_EQ(maskAuthorization(std::string("AWS4-HMAC-SHA256 ") + rest, "#"),
              "AWS4-HMAC-SHA256 Credential=#, Signature=#");
  }
  for (const char* rest : {"AKIA", "Signature=f", "Signature=f, Credential=a/b/c/d/e", ""}) {
    EXPECT_EQ(maskAuthorization(std::string("AWS4-HMAC-SHA256 ") + rest, "#"),
              "AWS4-HMAC-SHA256 #");
  }
}

}  // namespace
