// The public S3 names that the local S3 servers answer to.

export const kS3Regions = ['us-east-1', 'eu-central-1'];

export const kS3Hosts = [
  's3.amazonaws.com',
  ...kS3Regions.flatMap((region) => [`s3.${region}.amazonaws.com`, `s3-${region}.amazonaws.com`]),
  's3.cn-north-1.amazonaws.com.cn',
  's3.wasabisys.com',
];
